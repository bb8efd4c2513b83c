// STL reading with welding: the library's KelpReadStl, assimp's STL import
// with aiProcess_JoinIdenticalVertices on the same files, and the bytes read
// into memory as the floor. Inputs: binary STL of a closed 1,000,000-triangle
// sphere, the same sphere clustered into one grid cell plus far outliers, and
// an ASCII STL of a 200,000-triangle sphere.
#include <KelpFileIO.h>

#include "stl/StlBenchMeshes.h"
#include "support/BenchLoops.h"

#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <cstdio>
#include <string>
#include <unistd.h>

namespace {

const std::string& binarySphere() {
    static const std::string path = [] {
        const std::string p = KelpBench::scratchFile("stl-sphere-1m.stl");
        KelpCore::KelpTriMesh mesh = StlBench::uvSphere(1000, 501, 100.0f, 0.0f);
        KelpGraphic::KelpWriteStl(p.c_str(), &mesh);
        return p;
    }();
    return path;
}

const std::string& binaryClustered() {
    static const std::string path = [] {
        const std::string p = KelpBench::scratchFile("stl-clustered-1m.stl");
        KelpCore::KelpTriMesh mesh = StlBench::clusteredSphere(1000, 501);
        KelpGraphic::KelpWriteStl(p.c_str(), &mesh);
        return p;
    }();
    return path;
}

const std::string& asciiSphere() {
    static const std::string path = [] {
        const std::string p = KelpBench::scratchFile("stl-ascii-sphere-200k.stl");
        StlBench::writeAsciiStl(p, StlBench::uvSphere(400, 251, 100.0f, 0.0f));
        return p;
    }();
    return path;
}

void readKelpOnce(const std::string& path);
void readAssimpOnce(const std::string& path);

// Every input is generated and read once by each reader before anything is
// timed. The allocator's state decides much of these times (fresh pages from
// the system cost a fault each, reused heap pages do not), and a first run
// leaves the heap grown; so all rows are measured in that same warmed state,
// not some before and some after another reader's first run.
void prepareInputs() {
    static const bool ready = [] {
        for (const std::string* path : {&binarySphere(), &binaryClustered(), &asciiSphere()}) {
            readKelpOnce(*path);
            readAssimpOnce(*path);
            KelpBench::readAllBytes(*path);
        }
        return true;
    }();
    (void)ready;
}

// KelpReadStl prints its progress lines; keep them out of the report.
class QuietStdout {
public:
    QuietStdout() {
        std::fflush(stdout);
        saved_ = dup(1);
        std::FILE* null = std::freopen("/dev/null", "w", stdout);
        (void)null;
    }
    ~QuietStdout() {
        std::fflush(stdout);
        dup2(saved_, 1);
        close(saved_);
    }

private:
    int saved_;
};

void readKelpOnce(const std::string& path) {
    QuietStdout quiet;
    KelpCore::KelpTriMesh mesh;
    KelpGraphic::KelpReadStl(path.c_str(), &mesh);
}

void readAssimpOnce(const std::string& path) {
    Assimp::Importer importer;
    importer.ReadFile(path, aiProcess_JoinIdenticalVertices);
}

void readKelp(benchmark::State& state, const std::string& path) {
    prepareInputs();
    QuietStdout quiet;
    std::size_t vertices = 0;
    for (auto _ : state) {
        KelpCore::KelpTriMesh mesh;
        KelpGraphic::KelpReadStl(path.c_str(), &mesh);
        vertices = mesh.vertexCount;
        benchmark::DoNotOptimize(mesh.vertices.data());
    }
    state.counters["vertices"] = static_cast<double>(vertices);
    KelpBench::setFileThroughput(state, path);
}

void readAssimp(benchmark::State& state, const std::string& path) {
    prepareInputs();
    std::size_t vertices = 0;
    for (auto _ : state) {
        Assimp::Importer importer;
        const aiScene* scene = importer.ReadFile(path, aiProcess_JoinIdenticalVertices);
        vertices = 0;
        if (scene)
            for (unsigned m = 0; m < scene->mNumMeshes; ++m) vertices += scene->mMeshes[m]->mNumVertices;
        benchmark::DoNotOptimize(scene);
    }
    state.counters["vertices"] = static_cast<double>(vertices);
    KelpBench::setFileThroughput(state, path);
}

void floor(benchmark::State& state, const std::string& path) {
    prepareInputs();
    KelpBench::runFloor(state, path);
}

void BM_StlBinary1M_Kelp(benchmark::State& state) { readKelp(state, binarySphere()); }
void BM_StlBinary1M_Assimp(benchmark::State& state) { readAssimp(state, binarySphere()); }
void BM_StlBinary1M_Floor(benchmark::State& state) { floor(state, binarySphere()); }
void BM_StlBinary1MClustered_Kelp(benchmark::State& state) { readKelp(state, binaryClustered()); }
void BM_StlAscii200k_Kelp(benchmark::State& state) { readKelp(state, asciiSphere()); }
void BM_StlAscii200k_Assimp(benchmark::State& state) { readAssimp(state, asciiSphere()); }
void BM_StlAscii200k_Floor(benchmark::State& state) { floor(state, asciiSphere()); }

void BM_StlWrite1M(benchmark::State& state) {
    KelpCore::KelpTriMesh mesh = StlBench::uvSphere(1000, 501, 100.0f, 0.0f);
    const std::string path = KelpBench::scratchFile("stl-sphere-1m-out.stl");
    for (auto _ : state) KelpGraphic::KelpWriteStl(path.c_str(), &mesh);
    KelpBench::setFileThroughput(state, path);
}

}  // namespace

BENCHMARK(BM_StlBinary1M_Kelp)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StlBinary1M_Assimp)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StlBinary1M_Floor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StlBinary1MClustered_Kelp)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StlAscii200k_Kelp)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StlAscii200k_Assimp)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StlAscii200k_Floor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StlWrite1M)->Unit(benchmark::kMillisecond);
