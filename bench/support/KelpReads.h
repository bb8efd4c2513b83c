// One read of one file by one of the library's readers, chosen by the name the
// bench's command-line drivers take (kelp_peak, kelp_read_times): kelp-asc,
// kelp-dxf, kelp-3ds, kelp-obj, kelp-ply, kelp-wrl, kelp-stl. It reports what
// was read and the bytes of the arrays handed back. Public API only, so that
// it builds against earlier versions of the library too.
#pragma once

#include <KelpFileIO.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

namespace KelpBench {

struct ReadOutcome {
    bool ok = false;
    std::uint64_t containerBytes = 0;
    std::uint64_t vertices = 0;
    std::uint64_t triangles = 0;
};

template <class T>
std::uint64_t bytesOf(const std::vector<T>& v) {
    return static_cast<std::uint64_t>(v.size()) * sizeof(T);
}

inline std::uint64_t bytesOf(const KelpCore::KelpPointSet& cloud) {
    return bytesOf(cloud.vertices) + bytesOf(cloud.vertexFlags) + bytesOf(cloud.vertexNormals) +
           bytesOf(cloud.vertexAuxVectors) + bytesOf(cloud.vertexAuxValues);
}

inline std::uint64_t bytesOf(const KelpCore::KelpTriMesh& mesh) {
    return bytesOf(static_cast<const KelpCore::KelpPointSet&>(mesh)) + bytesOf(mesh.faces) + bytesOf(mesh.faceFlags) +
           bytesOf(mesh.faceNormals) + bytesOf(mesh.faceAuxVectors) + bytesOf(mesh.faceAuxValues) +
           bytesOf(mesh.faceTexCoordIndices) + bytesOf(mesh.texCoords);
}

template <class Container>
ReadOutcome readInto(bool (*read)(const char*, Container*), const char* path) {
    Container container;
    ReadOutcome outcome;
    outcome.ok = read(path, &container);
    outcome.containerBytes = bytesOf(container);
    outcome.vertices = container.vertexCount;
    if constexpr (std::is_same_v<Container, KelpCore::KelpTriMesh>) outcome.triangles = container.faceCount;
    return outcome;
}

// False when `reader` names none of the library's readers.
inline bool readWithKelp(const std::string& reader, const char* path, ReadOutcome& outcome) {
    if (reader == "kelp-asc") outcome = readInto(KelpGraphic::KelpReadAsc, path);
    else if (reader == "kelp-dxf") outcome = readInto(KelpGraphic::KelpReadDxf, path);
    else if (reader == "kelp-3ds") outcome = readInto(KelpGraphic::KelpRead3ds, path);
    else if (reader == "kelp-obj") outcome = readInto(KelpGraphic::KelpReadObj, path);
    else if (reader == "kelp-ply") outcome = readInto(KelpGraphic::KelpReadPly, path);
    else if (reader == "kelp-wrl") outcome = readInto(KelpGraphic::KelpReadWrl, path);
    else if (reader == "kelp-stl") outcome = readInto(KelpGraphic::KelpReadStl, path);
    else return false;
    return true;
}

}  // namespace KelpBench
