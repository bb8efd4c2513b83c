// The welding step alone on 1,000,000-triangle soups: the evenly spread
// sphere and the same sphere clustered into one cell of a 100 x 100 x 100
// grid over the bounding box (two far-out triangles stretch the box).
#include "stl/StlBenchMeshes.h"
#include "stl/StlReaders.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <unistd.h>

namespace {

KelpCore::KelpTriMesh soupOf(const KelpCore::KelpTriMesh& mesh) {
    KelpCore::KelpTriMesh soup;
    soup.setVertexCount(3 * mesh.faceCount);
    soup.setFaceCount(mesh.faceCount);
    for (std::uint32_t k = 0; k < mesh.faceCount; ++k)
        for (int c = 0; c < 3; ++c) soup.vertices[3 * k + c] = mesh.vertices[mesh.faces[k][c]];
    return soup;
}

void weld(benchmark::State& state, const KelpCore::KelpTriMesh& soup) {
    std::fflush(stdout);
    const int saved = dup(1);
    std::FILE* null = std::freopen("/dev/null", "w", stdout);
    (void)null;
    std::size_t vertices = 0;
    {
        // One untimed run, so that both cases start from the same warmed heap.
        KelpCore::KelpTriMesh mesh = soup;
        KelpStl::weldSoup(&mesh);
    }
    for (auto _ : state) {
        state.PauseTiming();
        KelpCore::KelpTriMesh mesh = soup;
        state.ResumeTiming();
        KelpStl::weldSoup(&mesh);
        vertices = mesh.vertexCount;
    }
    std::fflush(stdout);
    dup2(saved, 1);
    close(saved);
    state.counters["vertices"] = static_cast<double>(vertices);
}

void BM_StlWeld1M_Even(benchmark::State& state) {
    static const KelpCore::KelpTriMesh soup = soupOf(StlBench::uvSphere(1000, 501, 100.0f, 0.0f));
    weld(state, soup);
}

void BM_StlWeld1M_Clustered(benchmark::State& state) {
    static const KelpCore::KelpTriMesh soup = soupOf(StlBench::clusteredSphere(1000, 501));
    weld(state, soup);
}

}  // namespace

BENCHMARK(BM_StlWeld1M_Even)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StlWeld1M_Clustered)->Unit(benchmark::kMillisecond);
