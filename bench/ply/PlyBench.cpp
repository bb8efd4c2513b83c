// PLY on generated files: a binary_little_endian mesh of 2,000,000 vertices
// (float x, y, z, nx, ny, nz, uchar red, green, blue) and 4,000,000 faces
// (uchar count, int indices), and an ASCII mesh of 200,000 faces. The
// library's reader runs beside assimp's PLY import on the same files, with
// the file's bytes read into memory as the floor.
#include <KelpFileIO.h>

#include "support/BenchFiles.h"
#include "support/PeerReaders.h"

#ifdef KELP_BENCH_HAVE_ASSIMP
#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#endif

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

// A grid of (side x side) vertices on a wavy sheet, two triangles per cell.
struct Grid {
    std::uint32_t side;
    std::uint32_t vertices() const { return side * side; }
    std::uint32_t faces() const { return 2 * (side - 1) * (side - 1); }
    void position(std::uint32_t i, float out[3]) const {
        const float u = static_cast<float>(i % side), v = static_cast<float>(i / side);
        out[0] = u * 0.01f;
        out[1] = v * 0.01f;
        out[2] = 0.1f * std::sin(u * 0.05f) * std::cos(v * 0.05f) + 1.0f;  // never exactly 0
    }
    void face(std::uint32_t f, std::int32_t out[3]) const {
        const std::uint32_t cell = f / 2, cx = cell % (side - 1), cy = cell / (side - 1);
        const std::int32_t a = static_cast<std::int32_t>(cy * side + cx), b = a + 1,
                           c = a + static_cast<std::int32_t>(side), d = c + 1;
        if (f % 2 == 0)
            out[0] = a, out[1] = b, out[2] = d;
        else
            out[0] = a, out[1] = d, out[2] = c;
    }
};

void put(std::string& out, const void* bytes, std::size_t size) { out.append(static_cast<const char*>(bytes), size); }

const std::string& binaryFile() {
    static const std::string path = [] {
        const std::string p = KelpBench::scratchFile("mesh-2m-4m-le.ply");
        constexpr std::uint32_t kVertices = 2000000, kFaces = 4000000;
        const Grid grid{1415};  // 2,002,225 grid vertices, enough faces
        std::string out =
            "ply\nformat binary_little_endian 1.0\ncomment generated for the benchmark\n"
            "element vertex " + std::to_string(kVertices) +
            "\nproperty float x\nproperty float y\nproperty float z\nproperty float nx\nproperty float ny\n"
            "property float nz\nproperty uchar red\nproperty uchar green\nproperty uchar blue\n"
            "element face " + std::to_string(kFaces) + "\nproperty list uchar int vertex_indices\nend_header\n";
        out.reserve(out.size() + std::size_t(kVertices) * 27 + std::size_t(kFaces) * 13);
        for (std::uint32_t i = 0; i < kVertices; ++i) {
            float p3[3];
            grid.position(i, p3);
            const float n3[3] = {0.0f, 0.0f, 1.0f};
            const unsigned char rgb[3] = {static_cast<unsigned char>(i), 128, 200};
            put(out, p3, 12);
            put(out, n3, 12);
            put(out, rgb, 3);
        }
        for (std::uint32_t f = 0; f < kFaces; ++f) {
            std::int32_t idx[3];
            grid.face(f, idx);
            for (std::int32_t& v : idx) v %= static_cast<std::int32_t>(kVertices);
            out.push_back(3);
            put(out, idx, 12);
        }
        std::FILE* file = std::fopen(p.c_str(), "wb");
        std::fwrite(out.data(), 1, out.size(), file);
        std::fclose(file);
        return p;
    }();
    return path;
}

const std::string& asciiFile() {
    static const std::string path = [] {
        const std::string p = KelpBench::scratchFile("mesh-200k-ascii.ply");
        const Grid grid{318};  // 101,124 vertices, 200,978 faces
        constexpr std::uint32_t kFaces = 200000;
        std::string out = "ply\nformat ascii 1.0\nelement vertex " + std::to_string(grid.vertices()) +
                          "\nproperty float x\nproperty float y\nproperty float z\n"
                          "element face " + std::to_string(kFaces) +
                          "\nproperty list uchar int vertex_indices\nend_header\n";
        char line[128];
        for (std::uint32_t i = 0; i < grid.vertices(); ++i) {
            float p3[3];
            grid.position(i, p3);
            std::snprintf(line, sizeof line, "%g %g %g\n", p3[0], p3[1], p3[2]);
            out += line;
        }
        for (std::uint32_t f = 0; f < kFaces; ++f) {
            std::int32_t idx[3];
            grid.face(f, idx);
            std::snprintf(line, sizeof line, "3 %d %d %d\n", idx[0], idx[1], idx[2]);
            out += line;
        }
        std::FILE* file = std::fopen(p.c_str(), "wb");
        std::fwrite(out.data(), 1, out.size(), file);
        std::fclose(file);
        return p;
    }();
    return path;
}

void readWithKelp(benchmark::State& state, const std::string& path) {
    for (auto _ : state) {
        KelpCore::KelpTriMesh mesh;
        if (!KelpGraphic::KelpReadPly(path.c_str(), &mesh)) state.SkipWithError("KelpReadPly failed");
        benchmark::DoNotOptimize(mesh.faces.data());
    }
    KelpBench::setFileThroughput(state, path);
}

#ifdef KELP_BENCH_HAVE_ASSIMP
void readWithAssimp(benchmark::State& state, const std::string& path) {
    for (auto _ : state) {
        Assimp::Importer importer;
        const aiScene* scene = importer.ReadFile(path, 0);
        if (!scene || scene->mNumMeshes == 0) state.SkipWithError("assimp failed");
        benchmark::DoNotOptimize(scene);
    }
    KelpBench::setFileThroughput(state, path);
}
void BM_PlyBinaryAssimp(benchmark::State& state) { readWithAssimp(state, binaryFile()); }
void BM_PlyAsciiAssimp(benchmark::State& state) { readWithAssimp(state, asciiFile()); }
#endif

// miniply from ../shared/peers; skipped (and so reported) where the peer
// sources were absent at configure time.
void readWithMiniply(benchmark::State& state, const std::string& path) {
    if (!KelpBench::peersAvailable()) {
        state.SkipWithError("peer sources absent (../shared/peers), skipped");
        return;
    }
    for (auto _ : state) {
        const KelpBench::PeerResult result = KelpBench::readMiniply(path);
        if (!result.ok || result.triangles == 0) state.SkipWithError("miniply failed");
    }
    KelpBench::setFileThroughput(state, path);
}
void BM_PlyBinaryMiniply(benchmark::State& state) { readWithMiniply(state, binaryFile()); }
void BM_PlyAsciiMiniply(benchmark::State& state) { readWithMiniply(state, asciiFile()); }

void BM_PlyBinaryKelp(benchmark::State& state) { readWithKelp(state, binaryFile()); }
void BM_PlyBinaryFloorReadBytes(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(KelpBench::readAllBytes(binaryFile()));
    KelpBench::setFileThroughput(state, binaryFile());
}
void BM_PlyAsciiKelp(benchmark::State& state) { readWithKelp(state, asciiFile()); }
void BM_PlyAsciiFloorReadBytes(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(KelpBench::readAllBytes(asciiFile()));
    KelpBench::setFileThroughput(state, asciiFile());
}

}  // namespace

BENCHMARK(BM_PlyBinaryKelp)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_PlyBinaryFloorReadBytes)->Unit(benchmark::kMillisecond)->Iterations(10);
#ifdef KELP_BENCH_HAVE_ASSIMP
BENCHMARK(BM_PlyBinaryAssimp)->Unit(benchmark::kMillisecond)->Iterations(3);
#endif
BENCHMARK(BM_PlyBinaryMiniply)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_PlyAsciiKelp)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_PlyAsciiMiniply)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_PlyAsciiFloorReadBytes)->Unit(benchmark::kMillisecond)->Iterations(10);
#ifdef KELP_BENCH_HAVE_ASSIMP
BENCHMARK(BM_PlyAsciiAssimp)->Unit(benchmark::kMillisecond)->Iterations(5);
#endif
