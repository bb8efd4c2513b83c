// Generated STL inputs for the benchmarks: a closed UV sphere whose corners are
// shared (as in real scans), the same sphere shrunk into one welding-grid cell
// with two far-out triangles stretching the box, and an ASCII file.
#pragma once

#include <KelpCore.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace StlBench {

// slices * (stacks - 1) * 2 triangles: 1000 x 501 gives 1,000,000.
inline KelpCore::KelpTriMesh uvSphere(int slices, int stacks, float radius, float centre) {
    KelpCore::KelpTriMesh mesh;
    const double pi = 3.14159265358979323846;
    mesh.addVertex({centre, centre, centre + radius});  // north pole
    for (int t = 1; t < stacks; ++t) {
        const double theta = pi * t / stacks;
        for (int s = 0; s < slices; ++s) {
            const double phi = 2 * pi * s / slices;
            mesh.addVertex({static_cast<float>(centre + radius * std::sin(theta) * std::cos(phi)),
                            static_cast<float>(centre + radius * std::sin(theta) * std::sin(phi)),
                            static_cast<float>(centre + radius * std::cos(theta))});
        }
    }
    mesh.addVertex({centre, centre, centre - radius});  // south pole
    const auto ring = [&](int t, int s) { return static_cast<std::uint32_t>(1 + (t - 1) * slices + (s % slices)); };
    const auto south = static_cast<std::uint32_t>(mesh.vertexCount - 1);
    for (int s = 0; s < slices; ++s) mesh.addFace(0, ring(1, s), ring(1, s + 1));
    for (int t = 1; t + 1 < stacks; ++t)
        for (int s = 0; s < slices; ++s) {
            mesh.addFace(ring(t, s), ring(t + 1, s), ring(t + 1, s + 1));
            mesh.addFace(ring(t, s), ring(t + 1, s + 1), ring(t, s + 1));
        }
    for (int s = 0; s < slices; ++s) mesh.addFace(south, ring(stacks - 1, s + 1), ring(stacks - 1, s));
    mesh.recordedFaceCount = mesh.faceCount;
    return mesh;
}

// The sphere at 1/10000 of the box that two outlier triangles span: every
// sphere vertex falls into one cell of a 100 x 100 x 100 grid.
inline KelpCore::KelpTriMesh clusteredSphere(int slices, int stacks) {
    KelpCore::KelpTriMesh mesh = uvSphere(slices, stacks, 0.01f, 0.5f);
    const std::uint32_t first = mesh.vertexCount;
    for (float v : {-1000.0f, 1000.0f}) {
        mesh.addVertex({v, v, v});
        mesh.addVertex({v, v, -v});
        mesh.addVertex({-v, v, v});
    }
    mesh.addFace(first, first + 1, first + 2);
    mesh.addFace(first + 3, first + 4, first + 5);
    mesh.recordedFaceCount = mesh.faceCount;
    return mesh;
}

inline void writeAsciiStl(const std::string& path, const KelpCore::KelpTriMesh& mesh) {
    std::FILE* file = std::fopen(path.c_str(), "w");
    std::fprintf(file, "solid sphere\n");
    for (const auto& face : mesh.faces) {
        std::fprintf(file, "  facet normal %e %e %e\n    outer loop\n", 0.0, 0.0, 1.0);
        for (std::uint32_t index : face) {
            const auto& p = mesh.vertices[index];
            std::fprintf(file, "      vertex %e %e %e\n", p[0], p[1], p[2]);
        }
        std::fprintf(file, "    endloop\n  endfacet\n");
    }
    std::fprintf(file, "endsolid sphere\n");
    std::fclose(file);
}

}  // namespace StlBench
