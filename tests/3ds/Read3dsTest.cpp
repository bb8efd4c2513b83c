#include <KelpFileIO.h>

#include "3ds/Scene3ds.h"
#include "io/FileHandle.h"
#include "support/FileTest.h"
#include "support/MeshChecks.h"

#include <gtest/gtest.h>

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

// Heap bytes in use and their peak, for the memory a walk keeps.
namespace {
std::atomic<std::size_t> liveBytes{0}, peakBytes{0};

std::size_t blockBytes(void* block) {
#if defined(_WIN32)
    return _msize(block);
#else
    return malloc_usable_size(block);
#endif
}
}  // namespace

void* operator new(std::size_t size) {
    void* block = std::malloc(size == 0 ? 1 : size);
    if (!block) throw std::bad_alloc();
    const std::size_t live = liveBytes += blockBytes(block);
    for (std::size_t peak = peakBytes; live > peak && !peakBytes.compare_exchange_weak(peak, live);) {}
    return block;
}
void operator delete(void* block) noexcept {
    if (!block) return;
    liveBytes -= blockBytes(block);
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

using KelpCore::KelpTriMesh;
using KelpCore::Vec3f;
using KelpCore::Vec3u;
using namespace Kelp3ds;

namespace {

std::string u16s(std::initializer_list<std::uint16_t> values) {
    std::string out;
    for (std::uint16_t v : values) KelpTest::putU16(out, v);
    return out;
}
std::string floats(std::initializer_list<float> values) {
    std::string out;
    for (float v : values) KelpTest::putF32(out, v);
    return out;
}
std::string chunkWithLength(std::uint16_t id, std::uint32_t length, const std::string& content = {}) {
    std::string out = u16s({id});
    KelpTest::putU32(out, length);
    return out + content;
}
std::string chunk(std::uint16_t id, const std::string& content = {}) { return KelpTest::chunk3ds(id, content); }
std::string name(const std::string& text) { return text + std::string(1, '\0'); }
std::string object(const std::string& objectName, const std::string& content) {
    return chunk(kObject3ds, name(objectName) + content);
}
// One triangle (x, 0, 0), (x + 1, 0, 0), (x, 1, 0) with the face (0, 1, 2).
std::string triangleObject(float x) {
    return object("tri", chunk(kTriMesh3ds, chunk(kVertexList3ds, u16s({3}) + floats({x, 0, 0, x + 1, 0, 0, x, 1, 0})) +
                                                chunk(kFaceList3ds, u16s({1, 0, 1, 2, 7}))));
}
std::string file3ds(const std::string& editor) {
    return chunk(kMain3ds, chunk(kVersion3ds, u16s({3, 0})) + chunk(kEditor3ds, editor));
}
// `depth` chunks of `id`, each inside the one before, around `inner`.
std::string nestedChunks(std::uint16_t id, int depth, const std::string& inner) {
    std::string nested;
    for (int level = 0; level < depth; ++level)
        nested += chunkWithLength(id, static_cast<std::uint32_t>(6 * (depth - level) + inner.size()));
    return nested + inner;
}

struct Read {
    bool result = false;
    KelpTriMesh mesh;
    Scene3ds scene;
};

class Read3ds : public KelpTest::FileTest {
protected:
    // Walks `bytes` with a large buffer and with the smallest one, so that
    // fields straddle block boundaries; both must give the same outcome.
    Read read(const std::string& bytes) {
        write(bytes);
        auto walk = [this](std::size_t blockSize) {
            Read out;
            KelpIo::FileHandle file = KelpIo::openFile(path.c_str(), "rb");
            out.result = readChunks(file.get(), out.mesh, out.scene, blockSize);
            return out;
        };
        Read large = walk(std::size_t{1} << 20), small = walk(64);
        EXPECT_EQ(large.result, small.result);
        EXPECT_EQ(large.mesh.vertices, small.mesh.vertices);
        EXPECT_EQ(large.mesh.faces, small.mesh.faces);
        KelpTest::expectInvariants(large.mesh);
        return large;
    }
};

TEST_F(Read3ds, EveryChunkKindIsReadByteExactlyAndEveryTruncationFails) {
    // Data whose length would shift all that follows if a single byte were
    // read too many or too few; children that follow a chunk's data (face
    // materials and smoothing after the faces, a gamma colour after a colour)
    // are read as siblings; unknown ids (0x0012, 0xA087, ...) are skipped.
    const std::string material = chunk(
        kMaterial3ds,
        chunk(kMaterialName3ds, name(std::string(300, 'n'))) +
            chunk(kMaterialAmbient3ds, chunk(kColourBytes3ds, std::string("\x33\x00\xff", 3))) +
            chunk(kMaterialDiffuse3ds, chunk(kColourFloat3ds, floats({0.4f, 0.8f, 1})) + chunk(0x0012, "rgb")) +
            chunk(kMaterialSpecular3ds, chunk(kColourFloat3ds, floats({1, 1, 1}))) +
            chunk(kMaterialShininess3ds, chunk(kPercentInt3ds, u16s({50}))) +
            chunk(kMaterialShininessStrength3ds, chunk(kPercentFloat3ds, floats({0.25f}))) +
            chunk(kMaterialTransparency3ds, chunk(kPercentInt3ds, u16s({20}))) + chunk(kMaterialTwoSided3ds) +
            chunk(kMaterialShading3ds, u16s({3})) + chunk(0xA087, floats({1})) +
            chunk(kMaterialTextureMap3ds, chunk(kPercentInt3ds, u16s({100})) + chunk(kMapFileName3ds, name("w.png"))) +
            chunk(kMaterialBumpMap3ds, chunk(kMapFileName3ds, name("b.png"))));
    const std::string light = chunk(
        kLight3ds, floats({1, 2, 3}) + chunk(kColourBytes3ds, std::string("\x00\xff\x00", 3)) +
                       chunk(kColourFloat3ds, floats({1, 1, 1})) + chunk(kLightSpot3ds, floats({4, 5, 6, 30, 45})) +
                       chunk(kLightOff3ds) + chunk(kLightAttenuate3ds) + chunk(kLightInnerRange3ds, floats({10})) +
                       chunk(kLightOuterRange3ds, floats({20})) + chunk(0x4680, floats({7})));
    const std::string camera = chunk(kCamera3ds, floats({1, 2, 3, 4, 5, 6, 0.5f, 35}) + chunk(0x4710, u16s({1})) +
                                                     chunk(kCameraRanges3ds, floats({0.1f, 1000})));
    const std::string faces = chunk(kFaceList3ds, u16s({2, 0, 1, 2, 0, 2, 1, 0, 0}) +
                                                      chunk(kFaceMaterials3ds, name("steel") + u16s({2, 0, 1})) +
                                                      chunk(0x4150, u16s({1, 0, 1, 0})));
    const std::string mesh = chunk(kVertexList3ds, u16s({3}) + floats({1, 2, 3, 4, 5, 6, 7, 8, 9})) +
                             chunk(kMappingCoords3ds, u16s({3}) + floats({0, 0, 1, 0, 0, 1})) + faces +
                             chunk(0x4160, floats({1, 0, 0}));
    const std::string good = file3ds(
        chunk(kMeshVersion3ds, u16s({3, 0})) + chunk(kMasterScale3ds, floats({2.5f})) +
        chunk(kBackgroundColour3ds, chunk(kColourFloat3ds, floats({0.1f, 0.2f, 0.3f}))) +
        chunk(kAmbientColour3ds, chunk(kColourBytes3ds, "\x10\x80\xff")) + material + object("lamp", light) +
        object("cam", camera) + object(std::string(300, 'o'), chunk(kTriMesh3ds, mesh)) + triangleObject(7));
    const Read r = read(good);
    ASSERT_TRUE(r.result);
    EXPECT_EQ(r.mesh.faces, (std::vector<Vec3u>{{0, 1, 2}, {2, 1, 0}, {0, 1, 2}}));
    EXPECT_EQ(r.mesh.vertices[5], (Vec3f{7, 1, 0}));
    EXPECT_EQ(r.scene.ambient.g, 128 / 255.0f);
    const Material3ds& m = r.scene.material;
    EXPECT_EQ(m.name, std::string(256, 'n'));  // names keep 256 characters
    EXPECT_EQ(m.shininess, 0.5f * 300.0f);
    EXPECT_EQ(m.textureMap + m.bumpMap, "w.pngb.png");
    EXPECT_FALSE(r.scene.light.on);
    EXPECT_EQ(r.scene.camera.farRange, 1000.0f);

    for (std::size_t length = 0; length < good.size(); ++length)
        EXPECT_FALSE(read(good.substr(0, length)).result) << length;
}

TEST_F(Read3ds, FailuresKeepWhatCameBeforeAndOddLengths) {
    const std::string tri = triangleObject(0), good = file3ds(tri), next = triangleObject(5);
    const std::string emptyLists = chunk(kVertexList3ds, u16s({0})) + chunk(kFaceList3ds, u16s({0}));
    const std::string length0 = chunkWithLength(0x7777, 0), length1 = chunkWithLength(0x7777, 1);
    const std::string length5 = chunkWithLength(0x7777, 5);
    const std::string overrun = chunk(kVertexList3ds, u16s({0xFFFF}) + floats({1, 2, 3})) + floats({4, 5, 6, 7});
    const struct {
        std::string bytes;
        bool result;
        std::size_t vertexCount;
    } cases[] = {
        // A colour or percentage of another kind fails; nothing after it is read.
        {file3ds(tri + chunk(kAmbientColour3ds, chunk(0x0013, floats({1, 1, 1}))) + next), false, 3},
        {file3ds(tri + chunk(kBackgroundColour3ds, chunk(kPercentInt3ds, u16s({5}))) + next), false, 3},
        {file3ds(tri + chunk(kMaterial3ds, chunk(kMaterialDiffuse3ds, chunk(0x0012, "rgb"))) + next), false, 3},
        {file3ds(tri + chunk(kMaterial3ds, chunk(kMaterialTransparency3ds, chunk(0x0032, u16s({5}))))), false, 3},
        // The first chunk must be a main chunk; after it others are skipped;
        // fewer bytes than a header at the end fail.
        {chunk(0x1234, u16s({1, 0})) + good, false, 0},
        {good + chunk(0x1234, u16s({1, 0})) + good, true, 6},
        {good + "abc", false, 3},
        // Lengths below 6 count as a bare header, at every level.
        {file3ds(length0 + tri + object("o", length5 + chunk(kTriMesh3ds, length1 + emptyLists))) + length0, true, 3},
        // A container of length 0 has no children: its parent reads on, where
        // an object is unknown and skipped.
        {chunk(kMain3ds, chunkWithLength(kEditor3ds, 0) + tri), true, 0},
        // A length of 0xFFFFFFFF does not wrap around: the walks around it end.
        {file3ds(tri + chunkWithLength(0x7777, 0xFFFFFFFFu) + next), true, 3},
        {chunkWithLength(kMain3ds, 0xFFFFFFFFu, chunk(kEditor3ds, tri)), false, 3},
        // Counts beyond the chunk read on into what follows, up to the end of the file.
        {file3ds(object("o", chunk(kTriMesh3ds, overrun))), false, 2},
    };
    for (const auto& c : cases) {
        const Read r = read(c.bytes);
        EXPECT_EQ(r.result, c.result) << &c - cases;
        EXPECT_EQ(r.mesh.vertexCount, c.vertexCount) << &c - cases;
    }
}

TEST_F(Read3ds, DeepOrManyChunksDoNotRecurse) {
    // Below its own level a container's id is unknown, so 200,000 levels of
    // it are skipped in one step. Objects and lights read data first, so their
    // nested headers become names and numbers; the walk just has to finish.
    const int depth = 200'000;
    for (const std::string& bytes :
         {nestedChunks(kMain3ds, depth, triangleObject(0)),
          chunk(kMain3ds, nestedChunks(kEditor3ds, depth, triangleObject(0))),
          file3ds(object("o", nestedChunks(kTriMesh3ds, depth, triangleObject(0)))),
          file3ds(nestedChunks(kMaterial3ds, depth, triangleObject(0))), file3ds(nestedChunks(kObject3ds, depth, "")),
          file3ds(object("o", nestedChunks(kLight3ds, depth, "")))}) {
        EXPECT_EQ(read(bytes).mesh.vertexCount, 0u);
    }
    std::string many;
    for (int i = 0; i < 1'000'000; ++i) many += chunkWithLength(0x7777, 0);
    EXPECT_TRUE(read(file3ds(many + triangleObject(0))).result);
}

TEST_F(Read3ds, RecordsThatTheMeshDoesNotUseCostNothingPerChunk) {
    // 60,000 each of materials (named, with a colour), lights and cameras:
    // over 10 MB had each chunk kept its record.
    std::string records;
    const std::string material =
        chunk(kMaterial3ds, chunk(kMaterialName3ds, name("m")) + chunk(kMaterialDiffuse3ds, chunk(kColourBytes3ds, "abc")));
    const std::string light = object("l", chunk(kLight3ds, floats({1, 2, 3})));
    const std::string camera = object("c", chunk(kCamera3ds, floats({1, 2, 3, 4, 5, 6, 0, 35})));
    for (int i = 0; i < 60'000; ++i) records += material + light + camera;
    write(file3ds(records + triangleObject(0)));
    KelpTriMesh mesh;
    Scene3ds scene;
    KelpIo::FileHandle file = KelpIo::openFile(path.c_str(), "rb");
    const std::size_t before = peakBytes = liveBytes.load();
    EXPECT_TRUE(readChunks(file.get(), mesh, scene, 64 * 1024));
    EXPECT_EQ(mesh.vertexCount, 3u);
    EXPECT_LT(peakBytes - before, 256u * 1024u);  // the read buffer and one record of each kind
}

TEST_F(Read3ds, EntryPointAppends) {
    KelpTriMesh mesh;
    mesh.faceAttributes = KelpCore::KelpAttributeNormals;
    mesh.addVertex({9, 9, 9});
    mesh.addFace(0, 0, 0);
    ASSERT_TRUE(KelpGraphic::KelpRead3ds(write(file3ds(triangleObject(5))), &mesh));
    EXPECT_EQ(mesh.vertexCount, 4u);
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 0, 0}, {0, 1, 2}}));
    EXPECT_EQ(mesh.faceNormals.size(), 2u);
}

}  // namespace
