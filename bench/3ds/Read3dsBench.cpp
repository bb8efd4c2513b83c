// 3DS on a generated file of 60 objects with 60,000 triangles each (the
// format's 16-bit counts), each with mapping coordinates and a face-material
// list, read by KelpRead3ds and by assimp's 3DS importer in the same process,
// with the bytes read into memory as the floor.
#include <KelpFileIO.h>

#include "ByteBuilder.h"
#include "support/BenchLoops.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>

#ifdef KELP_BENCH_HAVE_ASSIMP
#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#endif

namespace {

constexpr int kObjects = 60;
constexpr int kColumns = 150, kRows = 200;  // 150 x 200 quads = 60,000 triangles
constexpr std::uint32_t kFacesPerObject = 2u * kColumns * kRows;

using KelpSamples::putF32;
using KelpSamples::putU16;
using KelpSamples::putU32;

using KelpSamples::chunk3ds;

std::string gridObject(int index) {
    const int columns = kColumns + 1, rows = kRows + 1;
    std::string vertices, mapping;
    putU16(vertices, static_cast<std::uint16_t>(columns * rows));
    putU16(mapping, static_cast<std::uint16_t>(columns * rows));
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < columns; ++c) {
            const float u = static_cast<float>(c) / kColumns, v = static_cast<float>(r) / kRows;
            putF32(vertices, 10.0f * u + 12.0f * static_cast<float>(index));
            putF32(vertices, 10.0f * v);
            putF32(vertices, std::sin(6.0f * u) * std::cos(4.0f * v));
            putF32(mapping, u);
            putF32(mapping, v);
        }
    std::string faces, faceMaterials = std::string("grey") + '\0';
    putU16(faces, static_cast<std::uint16_t>(kFacesPerObject));
    putU16(faceMaterials, static_cast<std::uint16_t>(kFacesPerObject));
    for (int r = 0; r < kRows; ++r)
        for (int c = 0; c < kColumns; ++c) {
            const auto corner = [&](int dr, int dc) { return static_cast<std::uint16_t>((r + dr) * columns + c + dc); };
            const std::uint16_t a = corner(0, 0), b = corner(0, 1), d = corner(1, 1), e = corner(1, 0), flags = 7;
            for (std::uint16_t word : {a, b, d, flags, a, d, e, flags}) putU16(faces, word);
        }
    for (std::uint32_t f = 0; f < kFacesPerObject; ++f) putU16(faceMaterials, static_cast<std::uint16_t>(f));
    const std::string mesh = chunk3ds(0x4110, vertices) + chunk3ds(0x4140, mapping) +
                             chunk3ds(0x4120, faces + chunk3ds(0x4130, faceMaterials));
    return chunk3ds(0x4000, "grid" + std::to_string(index) + '\0' + chunk3ds(0x4100, mesh));
}

const std::string& file3ds() {
    static const std::string path = [] {
        std::string colour;
        for (float c : {0.5f, 0.5f, 0.5f}) putF32(colour, c);
        std::string editor = chunk3ds(0x3D3E, std::string("\x03\x00\x00\x00", 4));
        editor += chunk3ds(0xAFFF, chunk3ds(0xA000, std::string("grey") + '\0') + chunk3ds(0xA020, chunk3ds(0x0010, colour)));
        for (int i = 0; i < kObjects; ++i) editor += gridObject(i);
        const std::string bytes = chunk3ds(0x4D4D, chunk3ds(0x0002, std::string("\x03\x00\x00\x00", 4)) + chunk3ds(0x3D3D, editor));
        const std::string p = KelpBench::scratchFile("grid-60x60k.3ds");
        std::ofstream(p, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return p;
    }();
    return path;
}

void BM_3dsRead(benchmark::State& state) {
    KelpBench::runRead(state, file3ds(), KelpGraphic::KelpRead3ds,
                       [](const KelpCore::KelpTriMesh& mesh) { return mesh.faceCount == kObjects * kFacesPerObject; });
}

#ifdef KELP_BENCH_HAVE_ASSIMP
void BM_3dsAssimp(benchmark::State& state) {
    const std::string& path = file3ds();
    for (auto _ : state) {
        Assimp::Importer importer;
        const aiScene* scene = importer.ReadFile(path, 0);
        std::size_t faces = 0;
        if (scene)
            for (unsigned m = 0; m < scene->mNumMeshes; ++m) faces += scene->mMeshes[m]->mNumFaces;
        if (faces != std::size_t{kObjects} * kFacesPerObject) state.SkipWithError("assimp did not read the file");
        benchmark::DoNotOptimize(scene);
    }
    KelpBench::setFileThroughput(state, path);
}
BENCHMARK(BM_3dsAssimp)->Unit(benchmark::kMillisecond);
#endif

void BM_3dsFloorReadBytes(benchmark::State& state) { KelpBench::runFloor(state, file3ds()); }

}  // namespace

BENCHMARK(BM_3dsRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_3dsFloorReadBytes)->Unit(benchmark::kMillisecond);
