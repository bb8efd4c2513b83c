// DXF on a generated drawing of 1,000,000 POINT entities (layer "Cloud",
// coordinates with six decimals): the library's reader, the classic
// fscanf("%250s")/fscanf("%f") loop it reproduces, and the bytes read into
// memory as the floor.
#include <KelpFileIO.h>

#include "support/BenchLoops.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

constexpr std::uint32_t kPoints = 1000000;

const std::string& dxfFile() {
    static const std::string path = [] {
        const std::string p = KelpBench::scratchFile("cloud-1m.dxf");
        std::FILE* file = std::fopen(p.c_str(), "wb");
        std::fputs("  0\nSECTION\n  2\nHEADER\n  9\n$ACADVER\n  1\nAC1009\n  0\nENDSEC\n"
                   "  0\nSECTION\n  2\nENTITIES\n",
                   file);
        for (std::uint32_t i = 0; i < kPoints; ++i) {
            const double t = (i + 0.5) / kPoints;
            const double z = 1.0 - 2.0 * t, r = std::sqrt(1.0 - z * z), phi = i * 2.399963229728653;
            std::fprintf(file, "  0\nPOINT\n  8\nCloud\n 10\n%.6f\n 20\n%.6f\n 30\n%.6f\n", 100 * r * std::cos(phi),
                         100 * r * std::sin(phi), 100 * z);
        }
        std::fputs("  0\nENDSEC\n  0\nEOF\n", file);
        std::fclose(file);
        return p;
    }();
    return path;
}

void BM_DxfRead(benchmark::State& state) {
    KelpBench::runRead(state, dxfFile(), KelpGraphic::KelpReadDxf,
                       [](const KelpCore::KelpPointSet& cloud) { return cloud.vertexCount == kPoints; });
}

void BM_DxfFscanfLoop(benchmark::State& state) {
    const std::string& path = dxfFile();
    for (auto _ : state) {
        KelpCore::KelpPointSet cloud;
        std::FILE* file = std::fopen(path.c_str(), "rt");
        char word[251];
        float xyz[3] = {0, 0, 0};
        bool inEntities = false;
        while (std::fscanf(file, "%250s", word) == 1) {
            if (!inEntities) {
                inEntities = std::strcmp(word, "ENTITIES") == 0;
                continue;
            }
            if (std::strcmp(word, "ENDSEC") == 0) break;
            if (std::strcmp(word, "POINT") != 0) continue;
            while (std::fscanf(file, "%250s", word) == 1) {
                if (std::strcmp(word, "0") == 0) {
                    cloud.addVertex({xyz[0], xyz[1], xyz[2]});
                    break;
                }
                if (std::strcmp(word, "10") == 0) std::fscanf(file, "%f", &xyz[0]);
                else if (std::strcmp(word, "20") == 0) std::fscanf(file, "%f", &xyz[1]);
                else if (std::strcmp(word, "30") == 0) std::fscanf(file, "%f", &xyz[2]);
            }
        }
        std::fclose(file);
        benchmark::DoNotOptimize(cloud.vertices.data());
    }
    KelpBench::setFileThroughput(state, path);
}

void BM_DxfFloorReadBytes(benchmark::State& state) { KelpBench::runFloor(state, dxfFile()); }

}  // namespace

BENCHMARK(BM_DxfRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DxfFscanfLoop)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DxfFloorReadBytes)->Unit(benchmark::kMillisecond);
