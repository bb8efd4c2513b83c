// The C++ side of the Python tests: reads a file with the library through
// the kelp tool's format table and stores what the container holds, so the
// tests can compare the package's arrays with it bit for bit; optionally
// writes the container back with a writer, as a host would.
//
//   kelp_python_reference FORMAT FILE OUTDIR [WRITE_FORMAT WRITE_PATH]
//
// OUTDIR gets result.txt ("ok vertices faces width height channels") and one
// <array>.bin per array the container holds.
#include "kelp/FormatTable.h"

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace {

template <typename Row>
void store(const std::string& dir, const char* name, const std::vector<Row>& rows) {
    std::ofstream out(dir + "/" + name + ".bin", std::ios::binary);
    out.write(reinterpret_cast<const char*>(rows.data()), static_cast<std::streamsize>(rows.size() * sizeof(Row)));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4 && argc != 6) {
        std::fprintf(stderr, "usage: %s FORMAT FILE OUTDIR [WRITE_FORMAT WRITE_PATH]\n", argv[0]);
        return 2;
    }
    const KelpTool::Format* format = KelpTool::formatByName(argv[1]);
    if (!format) return 2;
    const std::string dir = argv[3];
    KelpCore::KelpTriMesh mesh;
    KelpCore::KelpPointSet points;
    const bool ok = format->readMesh ? format->readMesh(argv[2], &mesh) : format->readPoints(argv[2], &points);
    KelpCore::KelpPointSet& read = format->readMesh ? mesh : points;

    std::ofstream(dir + "/result.txt") << ok << ' ' << read.vertexCount << ' ' << mesh.faceCount << ' '
                                       << mesh.textureImage.width << ' ' << mesh.textureImage.height << ' '
                                       << mesh.textureImage.channels << '\n';
    store(dir, "vertices", read.vertices);
    if (read.vertexAttributes & KelpCore::KelpAttributeNormals) store(dir, "vertex_normals", read.vertexNormals);
    if (format->readMesh) {
        store(dir, "faces", mesh.faces);
        if (!mesh.texCoords.empty()) store(dir, "texcoords", mesh.texCoords);
        if (!mesh.faceTexCoordIndices.empty()) store(dir, "face_texcoord_indices", mesh.faceTexCoordIndices);
        if (mesh.textureImage.data) {
            const KelpCore::KelpImageData<unsigned char>& image = mesh.textureImage;
            std::ofstream(dir + "/texture.bin", std::ios::binary)
                .write(reinterpret_cast<const char*>(image.data),
                       static_cast<std::streamsize>(image.width) * image.height * image.channels);
        }
    }
    if (argc == 6) {
        const KelpTool::Format* target = KelpTool::formatByName(argv[4]);
        if (!target) return 2;
        mesh.recordedFaceCount = mesh.faceCount;  // every face is written
        // A point cloud goes to a mesh format as a mesh of its points only.
        if (!format->readMesh) {
            mesh.vertexCount = points.vertexCount;
            mesh.vertices = points.vertices;
            mesh.vertexFlags = points.vertexFlags;
        }
        const bool written = target->writeMesh ? target->writeMesh(argv[5], &mesh) : target->writePoints(argv[5], &read);
        if (!written) return 1;
    }
    return 0;
}
