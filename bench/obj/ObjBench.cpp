// OBJ read and write of a 1,000,000-triangle mesh with "vt" and "vn", and the
// load of a 4096 x 4096 JPEG texture, each beside its peers on the same file.
#include <KelpFileIO.h>
#include <KelpImageLoad.h>

#include "support/BenchFiles.h"
#include "support/PeerReaders.h"

#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#include <benchmark/benchmark.h>
#include <stb_image.h>
#include <tiny_obj_loader.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

// A 501 x 1001 vertex grid: 500 x 1000 quads, 1,000,000 triangles, every
// corner written as v/vt/vn.
const std::string& objFile() {
    static const std::string path = [] {
        const std::string file = KelpBench::scratchFile("bench-1m.obj");
        std::FILE* out = std::fopen(file.c_str(), "w");
        const int rows = 501, columns = 1001;
        for (int r = 0; r < rows; ++r)
            for (int c = 0; c < columns; ++c)
                std::fprintf(out, "v %.6f %.6f %.6f\n", c * 0.01, r * 0.01, 0.05 * ((r * 7 + c * 3) % 11));
        for (int r = 0; r < rows; ++r)
            for (int c = 0; c < columns; ++c)
                std::fprintf(out, "vt %.6f %.6f\n", c / double(columns - 1), r / double(rows - 1));
        for (int r = 0; r < rows; ++r)
            for (int c = 0; c < columns; ++c) std::fprintf(out, "vn %.6f %.6f %.6f\n", 0.0, 0.6, 0.8);
        for (int r = 0; r + 1 < rows; ++r)
            for (int c = 0; c + 1 < columns; ++c) {
                const int a = r * columns + c + 1, b = a + 1, d = a + columns, e = d + 1;
                std::fprintf(out, "f %d/%d/%d %d/%d/%d %d/%d/%d\n", a, a, a, b, b, b, e, e, e);
                std::fprintf(out, "f %d/%d/%d %d/%d/%d %d/%d/%d\n", a, a, a, e, e, e, d, d, d);
            }
        std::fclose(out);
        return file;
    }();
    return path;
}

const std::string& jpegFile() {
    static const std::string path = [] {
        const std::string file = KelpBench::scratchFile("bench-4096.jpg");
        const unsigned side = 4096;
        std::vector<unsigned char> pixels(static_cast<std::size_t>(side) * side * 3);
        for (unsigned y = 0; y < side; ++y)
            for (unsigned x = 0; x < side; ++x) {
                unsigned char* p = &pixels[(static_cast<std::size_t>(y) * side + x) * 3];
                p[0] = static_cast<unsigned char>(x ^ y);
                p[1] = static_cast<unsigned char>((x * 3 + y) >> 2);
                p[2] = static_cast<unsigned char>((x * y) >> 8);
            }
        KelpCore::KelpImageData<unsigned char> image;
        image.data = pixels.data();
        image.width = image.height = side;
        image.channels = 3;
        KelpImageLoad::KelpWriteImage(file.c_str(), image);
        return file;
    }();
    return path;
}

void BM_ObjReadAllBytes(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(KelpBench::readAllBytes(objFile()));
    KelpBench::setFileThroughput(state, objFile());
}

void BM_ObjKelpRead(benchmark::State& state) {
    for (auto _ : state) {
        KelpCore::KelpTriMesh mesh;
        KelpGraphic::KelpReadObj(objFile().c_str(), &mesh);
        if (mesh.faceCount != 1000000) state.SkipWithError("wrong face count");
        benchmark::DoNotOptimize(mesh.vertices.data());
    }
    KelpBench::setFileThroughput(state, objFile());
}

// A peer from ../shared/peers on the same file; skipped (and so reported)
// where the peer sources were absent at configure time.
void readWithPeer(benchmark::State& state, KelpBench::PeerResult (*read)(const std::string&)) {
    if (!KelpBench::peersAvailable()) {
        state.SkipWithError("peer sources absent (../shared/peers), skipped");
        return;
    }
    for (auto _ : state) {
        const KelpBench::PeerResult result = read(objFile());
        if (!result.ok || result.triangles != 1000000) state.SkipWithError("wrong face count");
    }
    KelpBench::setFileThroughput(state, objFile());
}

void BM_ObjFastObj(benchmark::State& state) { readWithPeer(state, KelpBench::readFastObj); }
void BM_ObjRapidObj(benchmark::State& state) { readWithPeer(state, KelpBench::readRapidObj); }

void BM_ObjTinyObjLoader(benchmark::State& state) {
    for (auto _ : state) {
        tinyobj::ObjReader reader;
        tinyobj::ObjReaderConfig config;
        config.triangulate = true;
        reader.ParseFromFile(objFile(), config);
        if (reader.GetShapes().empty() || reader.GetShapes()[0].mesh.num_face_vertices.size() != 1000000)
            state.SkipWithError("wrong face count");
        benchmark::DoNotOptimize(reader.GetAttrib().vertices.data());
    }
    KelpBench::setFileThroughput(state, objFile());
}

void BM_ObjAssimpRead(benchmark::State& state) {
    for (auto _ : state) {
        Assimp::Importer importer;
        const aiScene* scene = importer.ReadFile(objFile(), 0);
        if (!scene || scene->mNumMeshes == 0) state.SkipWithError("assimp failed");
        benchmark::DoNotOptimize(scene);
    }
    KelpBench::setFileThroughput(state, objFile());
}

void BM_ObjKelpWrite(benchmark::State& state) {
    KelpCore::KelpTriMesh mesh;
    KelpGraphic::KelpReadObj(objFile().c_str(), &mesh);
    const std::string out = KelpBench::scratchFile("bench-out-kelp.obj");
    for (auto _ : state) KelpGraphic::KelpWriteObj(out.c_str(), &mesh);
    KelpBench::setFileThroughput(state, out);
}

void BM_ObjAssimpWrite(benchmark::State& state) {
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(objFile(), 0);
    const std::string out = KelpBench::scratchFile("bench-out-assimp.obj");
    Assimp::Exporter exporter;
    for (auto _ : state) exporter.Export(scene, "objnomtl", out);
    KelpBench::setFileThroughput(state, out);
}

void BM_JpegKelpReadImage(benchmark::State& state) {
    for (auto _ : state) {
        KelpCore::KelpImageData<unsigned char> image;
        KelpImageLoad::KelpReadImage(jpegFile().c_str(), image);
        if (image.width != 4096) state.SkipWithError("jpeg not loaded");
        delete[] image.data;
    }
    KelpBench::setFileThroughput(state, jpegFile());
}

void BM_JpegStbImage(benchmark::State& state) {
    for (auto _ : state) {
        int w, h, n;
        unsigned char* pixels = stbi_load(jpegFile().c_str(), &w, &h, &n, 0);
        if (!pixels) state.SkipWithError("stb failed");
        stbi_image_free(pixels);
    }
    KelpBench::setFileThroughput(state, jpegFile());
}

}  // namespace

// Process CPU time, so that rapidobj's worker threads count.
BENCHMARK(BM_ObjReadAllBytes)->Unit(benchmark::kMillisecond)->Iterations(5)->MeasureProcessCPUTime();
BENCHMARK(BM_ObjKelpRead)->Unit(benchmark::kMillisecond)->Iterations(5)->MeasureProcessCPUTime();
BENCHMARK(BM_ObjFastObj)->Unit(benchmark::kMillisecond)->Iterations(5)->MeasureProcessCPUTime();
BENCHMARK(BM_ObjRapidObj)->Unit(benchmark::kMillisecond)->Iterations(5)->MeasureProcessCPUTime();
BENCHMARK(BM_ObjTinyObjLoader)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_ObjAssimpRead)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_ObjKelpWrite)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_ObjAssimpWrite)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_JpegKelpReadImage)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_JpegStbImage)->Unit(benchmark::kMillisecond)->Iterations(5);
