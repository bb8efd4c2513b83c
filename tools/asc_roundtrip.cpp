// Generates a point cloud, writes it as ASC, reads it back and reports what
// came back: the library's smallest end-to-end job.
#include <KelpFileIO.h>

#include <cmath>
#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    const std::string path = argc > 1 ? argv[1] : "sample-cloud.asc";
    constexpr std::uint32_t kPoints = 10000;

    KelpCore::KelpPointSet cloud;
    for (std::uint32_t i = 0; i < kPoints; ++i) {
        // A spiral on the unit sphere, with coordinates of six decimals.
        const double t = (i + 0.5) / kPoints;
        const double z = 1.0 - 2.0 * t;
        const double r = std::sqrt(1.0 - z * z);
        const double phi = i * 2.399963229728653;
        cloud.addVertex({static_cast<float>(r * std::cos(phi)), static_cast<float>(r * std::sin(phi)),
                         static_cast<float>(z)});
    }
    if (!KelpGraphic::KelpWriteAsc(path.c_str(), &cloud)) {
        std::fprintf(stderr, "cannot write %s\n", path.c_str());
        return 1;
    }
    KelpCore::KelpPointSet back;
    if (!KelpGraphic::KelpReadAsc(path.c_str(), &back)) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return 1;
    }
    double worst = 0.0;
    for (std::uint32_t i = 0; i < kPoints; ++i)
        for (int a = 0; a < 3; ++a)
            worst = std::fmax(worst, std::fabs(double(back.vertices[i][a]) - cloud.vertices[i][a]));
    std::printf("wrote %u points to %s\n", cloud.vertexCount, path.c_str());
    std::printf("read back %u points (the file ends with a line feed, so the last point comes twice)\n",
                back.vertexCount);
    std::printf("largest coordinate difference: %.7f (six decimals are written)\n", worst);
    return back.vertexCount == kPoints + 1 && worst <= 1e-6 ? 0 : 1;
}
