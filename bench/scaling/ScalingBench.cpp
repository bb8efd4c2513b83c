// Binary STL (read + weld), binary PLY and OBJ read at 10^4, 10^5, 10^6 and
// 10^7 triangles, with the floor (the file's bytes read into memory) and the
// peers at every size. Each file is generated on first use;
// KELP_BENCH_MAX_TRIANGLES caps the sizes for a quick run. The label names the role: "kelp", "floor" or the peer.
#include <KelpFileIO.h>

#include "support/BenchFiles.h"

#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <benchmark/benchmark.h>
#include <tiny_obj_loader.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

namespace {

// A grid of (columns + 1) x (rows + 1) vertices with 2 * columns * rows
// triangles on a gently waved sheet.
struct Grid {
    std::uint32_t columns, rows;
    static Grid forTriangles(std::int64_t triangles) {
        switch (triangles) {
        case 10000: return {100, 50};
        case 100000: return {250, 200};
        case 1000000: return {1000, 500};
        default: return {2500, static_cast<std::uint32_t>(triangles / 5000)};
        }
    }
    std::uint32_t vertices() const { return (columns + 1) * (rows + 1); }
    std::uint32_t triangles() const { return 2 * columns * rows; }
    void position(std::uint32_t i, float out[3]) const {
        const float u = static_cast<float>(i % (columns + 1)), v = static_cast<float>(i / (columns + 1));
        out[0] = u * 0.01f;
        out[1] = v * 0.01f;
        out[2] = 0.1f * std::sin(u * 0.05f) * std::cos(v * 0.05f) + 1.0f;
    }
    // Zero-based corners of triangle t.
    void triangle(std::uint32_t t, std::uint32_t out[3]) const {
        const std::uint32_t cell = t / 2, cx = cell % columns, cy = cell / columns;
        const std::uint32_t a = cy * (columns + 1) + cx, b = a + 1, c = a + columns + 1, d = c + 1;
        if (t % 2 == 0)
            out[0] = a, out[1] = b, out[2] = d;
        else
            out[0] = a, out[1] = d, out[2] = c;
    }
};

// Buffered output that keeps memory flat while writing gigabyte files.
class Writer {
public:
    explicit Writer(const std::string& path) : file_(std::fopen(path.c_str(), "wb")) { buffer_.reserve(kChunk + 256); }
    ~Writer() {
        flush();
        if (file_) std::fclose(file_);
    }
    void bytes(const void* data, std::size_t size) {
        buffer_.append(static_cast<const char*>(data), size);
        if (buffer_.size() >= kChunk) flush();
    }
    void text(const char* s) { bytes(s, std::char_traits<char>::length(s)); }
    void number(double value, int precision) {
        char digits[64];
        const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, precision).ptr;
        bytes(digits, static_cast<std::size_t>(end - digits));
    }
    void number(std::uint32_t value) {
        char digits[16];
        const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        bytes(digits, static_cast<std::size_t>(end - digits));
    }

private:
    static constexpr std::size_t kChunk = 8 << 20;
    void flush() {
        if (file_ && !buffer_.empty()) std::fwrite(buffer_.data(), 1, buffer_.size(), file_);
        buffer_.clear();
    }
    std::FILE* file_;
    std::string buffer_;
};

// Every triangle stored with its own three corners, as binary STL does; the
// reader welds them back to the grid's shared vertices.
std::string stlPath(std::int64_t triangles) {
    static std::map<std::int64_t, std::string> made;
    auto found = made.find(triangles);
    if (found != made.end()) return found->second;
    const Grid grid = Grid::forTriangles(triangles);
    const std::string path = KelpBench::scratchFile("scaling-" + std::to_string(triangles) + ".stl");
    {
        Writer out(path);
        char header[80] = "binary STL generated for the scaling benchmark";
        out.bytes(header, sizeof header);
        const std::uint32_t count = grid.triangles();
        out.bytes(&count, 4);
        for (std::uint32_t t = 0; t < grid.triangles(); ++t) {
            std::uint32_t corners[3];
            grid.triangle(t, corners);
            float record[12] = {0.0f, 0.0f, 1.0f};
            for (int k = 0; k < 3; ++k) grid.position(corners[k], record + 3 + 3 * k);
            const std::uint16_t attributes = 0;
            out.bytes(record, sizeof record);
            out.bytes(&attributes, 2);
        }
    }
    return made[triangles] = path;
}

std::string plyPath(std::int64_t triangles) {
    static std::map<std::int64_t, std::string> made;
    auto found = made.find(triangles);
    if (found != made.end()) return found->second;
    const Grid grid = Grid::forTriangles(triangles);
    const std::string path = KelpBench::scratchFile("scaling-" + std::to_string(triangles) + "-le.ply");
    {
        Writer out(path);
        out.text(("ply\nformat binary_little_endian 1.0\nelement vertex " + std::to_string(grid.vertices()) +
                  "\nproperty float x\nproperty float y\nproperty float z\nproperty float nx\nproperty float ny\n"
                  "property float nz\nproperty uchar red\nproperty uchar green\nproperty uchar blue\n"
                  "element face " + std::to_string(grid.triangles()) +
                  "\nproperty list uchar int vertex_indices\nend_header\n")
                     .c_str());
        for (std::uint32_t i = 0; i < grid.vertices(); ++i) {
            float p[3];
            grid.position(i, p);
            const float n[3] = {0.0f, 0.0f, 1.0f};
            const unsigned char rgb[3] = {static_cast<unsigned char>(i), 128, 200};
            out.bytes(p, 12);
            out.bytes(n, 12);
            out.bytes(rgb, 3);
        }
        for (std::uint32_t t = 0; t < grid.triangles(); ++t) {
            std::uint32_t corners[3];
            grid.triangle(t, corners);
            const unsigned char count = 3;
            out.bytes(&count, 1);
            out.bytes(corners, 12);
        }
    }
    return made[triangles] = path;
}

// Every corner as v/vt/vn, like the 1M-triangle OBJ benchmark.
std::string objPath(std::int64_t triangles) {
    static std::map<std::int64_t, std::string> made;
    auto found = made.find(triangles);
    if (found != made.end()) return found->second;
    const Grid grid = Grid::forTriangles(triangles);
    const std::string path = KelpBench::scratchFile("scaling-" + std::to_string(triangles) + ".obj");
    {
        Writer out(path);
        for (std::uint32_t i = 0; i < grid.vertices(); ++i) {
            float p[3];
            grid.position(i, p);
            out.text("v ");
            out.number(p[0], 6);
            out.text(" ");
            out.number(p[1], 6);
            out.text(" ");
            out.number(p[2], 6);
            out.text("\n");
        }
        for (std::uint32_t i = 0; i < grid.vertices(); ++i) {
            out.text("vt ");
            out.number(double(i % (grid.columns + 1)) / grid.columns, 6);
            out.text(" ");
            out.number(double(i / (grid.columns + 1)) / grid.rows, 6);
            out.text("\n");
        }
        for (std::uint32_t i = 0; i < grid.vertices(); ++i) out.text("vn 0.000000 0.600000 0.800000\n");
        for (std::uint32_t t = 0; t < grid.triangles(); ++t) {
            std::uint32_t corners[3];
            grid.triangle(t, corners);
            out.text("f");
            for (std::uint32_t c : corners)
                for (int k = 0; k < 3; ++k) {
                    out.text(k == 0 ? " " : "/");
                    out.number(c + 1);
                }
            out.text("\n");
        }
    }
    return made[triangles] = path;
}

void finish(benchmark::State& state, const std::string& path, const char* role) {
    KelpBench::setFileThroughput(state, path);
    state.counters["triangles"] = static_cast<double>(state.range(0));
    state.counters["file_bytes"] = static_cast<double>(KelpBench::fileSize(path));
    state.SetLabel(role);
}

void floorRead(benchmark::State& state, const std::string& path) {
    for (auto _ : state) benchmark::DoNotOptimize(KelpBench::readAllBytes(path));
    finish(state, path, "floor");
}

void kelpRead(benchmark::State& state, const std::string& path, bool (*read)(const char*, KelpCore::KelpTriMesh*)) {
    for (auto _ : state) {
        KelpCore::KelpTriMesh mesh;
        if (!read(path.c_str(), &mesh) || mesh.faceCount != state.range(0)) state.SkipWithError("wrong face count");
        benchmark::DoNotOptimize(mesh.faces.data());
    }
    finish(state, path, "kelp");
}

void assimpRead(benchmark::State& state, const std::string& path, unsigned flags = 0) {
    for (auto _ : state) {
        Assimp::Importer importer;
        const aiScene* scene = importer.ReadFile(path, flags);
        if (!scene || scene->mNumMeshes == 0) state.SkipWithError("assimp failed");
        benchmark::DoNotOptimize(scene);
    }
    finish(state, path, "assimp");
}

void BM_ScaleStlBinaryFloor(benchmark::State& state) { floorRead(state, stlPath(state.range(0))); }
void BM_ScaleStlBinaryKelp(benchmark::State& state) { kelpRead(state, stlPath(state.range(0)), KelpGraphic::KelpReadStl); }
// assimp welds STL only when asked to, as the library always does.
void BM_ScaleStlBinaryAssimp(benchmark::State& state) {
    assimpRead(state, stlPath(state.range(0)), aiProcess_JoinIdenticalVertices);
}

void BM_ScalePlyBinaryFloor(benchmark::State& state) { floorRead(state, plyPath(state.range(0))); }
void BM_ScalePlyBinaryKelp(benchmark::State& state) { kelpRead(state, plyPath(state.range(0)), KelpGraphic::KelpReadPly); }
void BM_ScalePlyBinaryAssimp(benchmark::State& state) { assimpRead(state, plyPath(state.range(0))); }

void BM_ScaleObjFloor(benchmark::State& state) { floorRead(state, objPath(state.range(0))); }
void BM_ScaleObjKelp(benchmark::State& state) { kelpRead(state, objPath(state.range(0)), KelpGraphic::KelpReadObj); }
void BM_ScaleObjTinyObjLoader(benchmark::State& state) {
    const std::string path = objPath(state.range(0));
    for (auto _ : state) {
        tinyobj::ObjReader reader;
        tinyobj::ObjReaderConfig config;
        config.triangulate = true;
        reader.ParseFromFile(path, config);
        if (reader.GetShapes().empty()) state.SkipWithError("tinyobjloader failed");
        benchmark::DoNotOptimize(reader.GetAttrib().vertices.data());
    }
    finish(state, path, "tinyobjloader");
}
void BM_ScaleObjAssimp(benchmark::State& state) { assimpRead(state, objPath(state.range(0))); }

std::int64_t maxTriangles() {
    const char* configured = std::getenv("KELP_BENCH_MAX_TRIANGLES");
    return configured && *configured ? std::atoll(configured) : 10000000;
}

// About the same total work per size: many rounds of the small files, one or
// two of the largest.
std::int64_t iterationsFor(std::int64_t triangles) {
    return triangles <= 10000 ? 200 : triangles <= 100000 ? 20 : triangles <= 1000000 ? 3 : 1;
}

// A peer's 10^7 read takes up to a minute on a loaded machine, so it runs once
// however many repetitions the rest gets.
enum class Role { Ours, Peer };

void registerScaled(const char* name, void (*function)(benchmark::State&), Role role = Role::Ours) {
    for (std::int64_t n = 10000; n <= maxTriangles(); n *= 10) {
        benchmark::internal::Benchmark* b = benchmark::RegisterBenchmark(name, function);
        b->Arg(n)->Iterations(iterationsFor(n))->Unit(benchmark::kMillisecond);
        if (role == Role::Peer && n >= 10000000) b->Repetitions(1);
    }
}

const int registered = [] {
    registerScaled("BM_ScaleStlBinaryFloor", BM_ScaleStlBinaryFloor);
    registerScaled("BM_ScaleStlBinaryKelp", BM_ScaleStlBinaryKelp);
    registerScaled("BM_ScaleStlBinaryAssimp", BM_ScaleStlBinaryAssimp, Role::Peer);
    registerScaled("BM_ScalePlyBinaryFloor", BM_ScalePlyBinaryFloor);
    registerScaled("BM_ScalePlyBinaryKelp", BM_ScalePlyBinaryKelp);
    registerScaled("BM_ScalePlyBinaryAssimp", BM_ScalePlyBinaryAssimp, Role::Peer);
    registerScaled("BM_ScaleObjFloor", BM_ScaleObjFloor);
    registerScaled("BM_ScaleObjKelp", BM_ScaleObjKelp);
    registerScaled("BM_ScaleObjTinyObjLoader", BM_ScaleObjTinyObjLoader, Role::Peer);
    registerScaled("BM_ScaleObjAssimp", BM_ScaleObjAssimp, Role::Peer);
    return 0;
}();

}  // namespace
