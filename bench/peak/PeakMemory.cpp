// kelp_peak <reader> <file>: reads the file once with one reader and prints a
// JSON line with the process's peak resident memory before and after the read
// and the bytes of the resulting arrays (the least any reader must hold).
// Readers: kelp-asc, kelp-dxf, kelp-3ds, kelp-obj, kelp-ply, kelp-wrl,
// kelp-stl, assimp, assimp-join (with aiProcess_JoinIdenticalVertices, as
// assimp welds STL), tinyobjloader, and the peers of ../shared/peers where they
// were compiled in: fast_obj, rapidobj, miniply (a peer that was not prints
// nothing and exits 0, so the report simply has no row for it).
#include <KelpFileIO.h>

#include "support/KelpReads.h"
#include "support/PeerReaders.h"

#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <tiny_obj_loader.h>

#include <sys/resource.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace {

using KelpBench::bytesOf;
using Outcome = KelpBench::ReadOutcome;

long peakKilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

Outcome readAssimp(const char* path, unsigned flags) {
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(path, flags);
    Outcome outcome;
    outcome.ok = scene && scene->mNumMeshes > 0;
    for (unsigned m = 0; scene && m < scene->mNumMeshes; ++m) {
        const aiMesh* mesh = scene->mMeshes[m];
        std::uint64_t perVertex = mesh->HasNormals() ? 2 : 1;
        if (mesh->HasTangentsAndBitangents()) perVertex += 2;
        for (unsigned c = 0; c < AI_MAX_NUMBER_OF_TEXTURECOORDS; ++c) perVertex += mesh->HasTextureCoords(c);
        outcome.containerBytes += mesh->mNumVertices * perVertex * sizeof(aiVector3D);
        for (unsigned c = 0; c < AI_MAX_NUMBER_OF_COLOR_SETS; ++c)
            if (mesh->HasVertexColors(c)) outcome.containerBytes += mesh->mNumVertices * sizeof(aiColor4D);
        for (unsigned f = 0; f < mesh->mNumFaces; ++f)
            outcome.containerBytes += sizeof(aiFace) + mesh->mFaces[f].mNumIndices * sizeof(unsigned);
        outcome.vertices += mesh->mNumVertices;
        outcome.triangles += mesh->mNumFaces;
    }
    return outcome;
}

Outcome readTinyObj(const char* path) {
    tinyobj::ObjReader reader;
    tinyobj::ObjReaderConfig config;
    config.triangulate = true;
    Outcome outcome;
    outcome.ok = reader.ParseFromFile(path, config);
    const tinyobj::attrib_t& attrib = reader.GetAttrib();
    outcome.containerBytes = bytesOf(attrib.vertices) + bytesOf(attrib.normals) + bytesOf(attrib.texcoords) +
                             bytesOf(attrib.colors) + bytesOf(attrib.vertex_weights);
    outcome.vertices = attrib.vertices.size() / 3;
    for (const tinyobj::shape_t& shape : reader.GetShapes()) {
        outcome.containerBytes += bytesOf(shape.mesh.indices) + bytesOf(shape.mesh.num_face_vertices) +
                                  bytesOf(shape.mesh.material_ids) + bytesOf(shape.mesh.smoothing_group_ids);
        outcome.triangles += shape.mesh.num_face_vertices.size();
    }
    return outcome;
}

Outcome fromPeer(const KelpBench::PeerResult& result) {
    Outcome outcome;
    outcome.ok = result.ok;
    outcome.containerBytes = result.arrayBytes;
    outcome.vertices = result.vertices;
    outcome.triangles = result.triangles;
    return outcome;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: kelp_peak <reader> <file>\n");
        return 2;
    }
    const std::string reader = argv[1];
    const char* path = argv[2];
    const long before = peakKilobytes();
    Outcome outcome;
    if (KelpBench::readWithKelp(reader, path, outcome)) {  // one of the library's own
    } else if (reader == "assimp") outcome = readAssimp(path, 0);
    else if (reader == "assimp-join") outcome = readAssimp(path, aiProcess_JoinIdenticalVertices);
    else if (reader == "tinyobjloader") outcome = readTinyObj(path);
    else if (reader == "fast_obj" || reader == "rapidobj" || reader == "miniply") {
        if (!KelpBench::peersAvailable()) {
            std::fprintf(stderr, "kelp_peak: %s skipped, peer sources absent (../shared/peers)\n", reader.c_str());
            return 0;
        }
        outcome = fromPeer(reader == "fast_obj"   ? KelpBench::readFastObj(path)
                           : reader == "rapidobj" ? KelpBench::readRapidObj(path)
                                                  : KelpBench::readMiniply(path));
    }
    else {
        std::fprintf(stderr, "kelp_peak: unknown reader %s\n", reader.c_str());
        return 2;
    }
    const long after = peakKilobytes();
    std::fflush(stdout);  // after the readers' own progress lines
    std::printf("{\"reader\": \"%s\", \"file\": \"%s\", \"ok\": %s, \"baseline_kb\": %ld, \"peak_kb\": %ld, "
                "\"container_bytes\": %llu, \"vertices\": %llu, \"triangles\": %llu}\n",
                reader.c_str(), path, outcome.ok ? "true" : "false", before, after,
                static_cast<unsigned long long>(outcome.containerBytes),
                static_cast<unsigned long long>(outcome.vertices), static_cast<unsigned long long>(outcome.triangles));
    return outcome.ok ? 0 : 1;
}
