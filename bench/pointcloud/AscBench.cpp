// ASC on a generated 1,000,000-point file: the library's reader and writer, a
// plain std::ifstream line loop as the classic way to read it, and the bytes
// read into memory as the floor.
#include <KelpFileIO.h>

#include "support/BenchLoops.h"

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>

namespace {

constexpr std::uint32_t kPoints = 1000000;

const KelpCore::KelpPointSet& generatedCloud() {
    static KelpCore::KelpPointSet cloud = [] {
        KelpCore::KelpPointSet c;
        for (std::uint32_t i = 0; i < kPoints; ++i) {
            const double t = (i + 0.5) / kPoints;
            const double z = 1.0 - 2.0 * t, r = std::sqrt(1.0 - z * z), phi = i * 2.399963229728653;
            c.addVertex({static_cast<float>(100 * r * std::cos(phi)), static_cast<float>(100 * r * std::sin(phi)),
                         static_cast<float>(100 * z)});
        }
        return c;
    }();
    return cloud;
}

const std::string& ascFile() {
    static const std::string path = [] {
        const std::string p = KelpBench::scratchFile("cloud-1m.asc");
        KelpCore::KelpPointSet cloud = generatedCloud();
        KelpGraphic::KelpWriteAsc(p.c_str(), &cloud);
        return p;
    }();
    return path;
}

void BM_AscRead(benchmark::State& state) { KelpBench::runRead(state, ascFile(), KelpGraphic::KelpReadAsc); }

void BM_AscIfstreamLineLoop(benchmark::State& state) {
    const std::string& path = ascFile();
    for (auto _ : state) {
        KelpCore::KelpPointSet cloud;
        std::ifstream in(path);
        std::string line;
        float x = 0, y = 0, z = 0;
        while (std::getline(in, line)) {
            std::istringstream fields(line);
            fields >> x >> y >> z;
            cloud.addVertex({x, y, z});
        }
        benchmark::DoNotOptimize(cloud.vertices.data());
    }
    KelpBench::setFileThroughput(state, path);
}

void BM_AscFloorReadBytes(benchmark::State& state) { KelpBench::runFloor(state, ascFile()); }

void BM_AscWrite(benchmark::State& state) {
    KelpCore::KelpPointSet cloud = generatedCloud();
    const std::string path = KelpBench::scratchFile("cloud-1m-out.asc");
    for (auto _ : state) KelpGraphic::KelpWriteAsc(path.c_str(), &cloud);
    KelpBench::setFileThroughput(state, path);
}

}  // namespace

BENCHMARK(BM_AscRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AscIfstreamLineLoop)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AscFloorReadBytes)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AscWrite)->Unit(benchmark::kMillisecond);
