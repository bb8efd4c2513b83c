// VRML 1.0 on a generated file of 1,000,000 triangles (a 1000 x 500 quad grid
// with 501,501 points): one Coordinate3 and one IndexedFaceSet inside a
// Separator, written the way exporters write them. The floor is reading the
// file's bytes into memory. No peer library reads VRML 1.0.
#include <KelpFileIO.h>

#include "support/BenchLoops.h"

#include <cmath>
#include <cstdio>
#include <string>

namespace {

constexpr int kColumns = 1000;
constexpr int kRows = 500;

const std::string& wrlFile() {
    static const std::string path = [] {
        const std::string p = KelpBench::scratchFile("vrml-grid-1m.wrl");
        std::FILE* out = std::fopen(p.c_str(), "wb");
        std::fputs("#VRML V1.0 ascii\n\nSeparator {\n  Coordinate3 {\n    point [\n", out);
        for (int r = 0; r <= kRows; ++r)
            for (int c = 0; c <= kColumns; ++c)
                std::fprintf(out, "      %.4f %.4f %.5f,\n", c * 0.01 - 5.0, r * 0.01 - 2.5,
                             0.25 * std::sin(c * 0.013) * std::cos(r * 0.021));
        std::fputs("    ]\n  }\n  IndexedFaceSet {\n    coordIndex [\n", out);
        for (int r = 0; r < kRows; ++r)
            for (int c = 0; c < kColumns; ++c) {
                const int a = r * (kColumns + 1) + c, b = a + 1, d = a + kColumns + 1, e = d + 1;
                std::fprintf(out, "      %d, %d, %d, -1,\n      %d, %d, %d, -1,\n", a, b, e, a, e, d);
            }
        std::fputs("    ]\n  }\n}\n", out);
        std::fclose(out);
        return p;
    }();
    return path;
}

void BM_WrlRead(benchmark::State& state) {
    std::uint32_t faces = 0;
    KelpBench::runRead(state, wrlFile(), KelpGraphic::KelpReadWrl, [&](const KelpCore::KelpTriMesh& mesh) {
        faces = mesh.faceCount;
        return true;
    });
    state.counters["triangles"] = faces;
}

void BM_WrlFloorReadBytes(benchmark::State& state) { KelpBench::runFloor(state, wrlFile()); }

}  // namespace

BENCHMARK(BM_WrlRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WrlFloorReadBytes)->Unit(benchmark::kMillisecond);
