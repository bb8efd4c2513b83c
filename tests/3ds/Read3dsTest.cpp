#include <KelpFileIO.h>

#include "3ds/Scene3ds.h"
#include "io/FileHandle.h"
#include "support/LocaleGuard.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using KelpCore::KelpTriMesh;
using KelpCore::Vec3f;
using KelpCore::Vec3u;
using namespace Kelp3ds;

namespace {

std::string u16(std::uint16_t v) {
    std::string out;
    KelpTest::putU16(out, v);
    return out;
}
std::string u32(std::uint32_t v) {
    std::string out;
    KelpTest::putU32(out, v);
    return out;
}
std::string floats(std::initializer_list<float> values) {
    std::string out;
    for (float v : values) KelpTest::putF32(out, v);
    return out;
}
std::string name(const std::string& text) { return text + std::string(1, '\0'); }
std::string chunkWithLength(std::uint16_t id, std::uint32_t length, const std::string& content = {}) {
    return u16(id) + u32(length) + content;
}
std::string chunk(std::uint16_t id, const std::string& content = {}) {
    return chunkWithLength(id, static_cast<std::uint32_t>(6 + content.size()), content);
}
std::string object(const std::string& objectName, const std::string& content) {
    return chunk(kObject3ds, name(objectName) + content);
}
// One triangle (x, 0, 0), (x + 1, 0, 0), (x, 1, 0) with the face (0, 1, 2).
std::string triangleObject(float x) {
    const std::string vertices = chunk(kVertexList3ds, u16(3) + floats({x, 0, 0, x + 1, 0, 0, x, 1, 0}));
    const std::string faces = chunk(kFaceList3ds, u16(1) + u16(0) + u16(1) + u16(2) + u16(7));
    return object("tri", chunk(kTriMesh3ds, vertices + faces));
}
std::string file3ds(const std::string& editor) {
    return chunk(kMain3ds, chunk(kVersion3ds, u32(3)) + chunk(kEditor3ds, editor));
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

class Read3ds : public ::testing::Test {
protected:
    // Walks `bytes` with a large buffer and with the smallest one, so that
    // fields straddle block boundaries; both must give the same outcome.
    Read read(const std::string& bytes) {
        const std::string path = dir.file("scene.3ds");
        KelpTest::writeFile(path, bytes);
        Read large = walk(path, std::size_t{1} << 20), small = walk(path, 64);
        EXPECT_EQ(large.result, small.result);
        EXPECT_EQ(large.mesh.vertices, small.mesh.vertices);
        EXPECT_EQ(large.mesh.faces, small.mesh.faces);
        EXPECT_EQ(large.mesh.faceFlags.size(), large.mesh.faceCount);
        return large;
    }
    static Read walk(const std::string& path, std::size_t blockSize) {
        Read out;
        KelpIo::FileHandle file = KelpIo::openFile(path.c_str(), "rb");
        out.result = readChunks(file.get(), out.mesh, out.scene, blockSize);
        return out;
    }

    KelpTest::LocaleGuard locale;
    KelpTest::TempDir dir;
};

TEST_F(Read3ds, ObjectsAppendWithIndicesAsStored) {
    Read r = read(file3ds(triangleObject(0) + triangleObject(10)));
    EXPECT_TRUE(r.result);
    EXPECT_EQ(r.mesh.vertices, (std::vector<Vec3f>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {10, 0, 0}, {11, 0, 0}, {10, 1, 0}}));
    EXPECT_EQ(r.mesh.faces, (std::vector<Vec3u>{{0, 1, 2}, {0, 1, 2}}));
    // Empty lists add nothing and succeed.
    r = read(file3ds(object("e", chunk(kTriMesh3ds, chunk(kVertexList3ds, u16(0)) + chunk(kFaceList3ds, u16(0))))));
    EXPECT_TRUE(r.result);
    EXPECT_EQ(r.mesh.vertexCount + r.mesh.faceCount, 0u);
}

TEST_F(Read3ds, RecordsAndNestedChunksAreReadByteExactly) {
    // Every recognised kind of chunk, with data whose length would shift all
    // that follows if a single byte were read too many or too few; children
    // that follow a chunk's data (face materials and smoothing after the
    // faces, a gamma colour after a colour) are read as siblings.
    const std::string material = chunk(
        kMaterial3ds,
        chunk(kMaterialName3ds, name(std::string(300, 'n'))) +
            chunk(kMaterialAmbient3ds, chunk(kColourBytes3ds, std::string("\x33\x00\xff", 3))) +
            chunk(kMaterialDiffuse3ds, chunk(kColourFloat3ds, floats({0.4f, 0.8f, 1})) + chunk(0x0012, "rgb")) +
            chunk(kMaterialSpecular3ds, chunk(kColourFloat3ds, floats({1, 1, 1}))) +
            chunk(kMaterialShininess3ds, chunk(kPercentInt3ds, u16(50))) +
            chunk(kMaterialShininessStrength3ds, chunk(kPercentFloat3ds, floats({0.25f}))) +
            chunk(kMaterialTransparency3ds, chunk(kPercentInt3ds, u16(20))) + chunk(kMaterialTwoSided3ds) +
            chunk(kMaterialShading3ds, u16(3)) + chunk(0xA087, floats({1})) +
            chunk(kMaterialTextureMap3ds, chunk(kPercentInt3ds, u16(100)) + chunk(kMapFileName3ds, name("wood.png"))) +
            chunk(kMaterialBumpMap3ds, chunk(kMapFileName3ds, name("bump.png"))));
    const std::string light = chunk(
        kLight3ds, floats({1, 2, 3}) + chunk(kColourBytes3ds, std::string("\x00\xff\x00", 3)) +
                       chunk(kColourFloat3ds, floats({1, 1, 1})) + chunk(kLightSpot3ds, floats({4, 5, 6, 30, 45})) +
                       chunk(kLightOff3ds) + chunk(kLightAttenuate3ds) + chunk(kLightInnerRange3ds, floats({10})) +
                       chunk(kLightOuterRange3ds, floats({20})) + chunk(0x4680, floats({7})));
    const std::string camera = chunk(kCamera3ds, floats({1, 2, 3, 4, 5, 6, 0.5f, 35}) + chunk(0x4710, u16(1)) +
                                                     chunk(kCameraRanges3ds, floats({0.1f, 1000})));
    const std::string faces =
        chunk(kFaceList3ds, u16(2) + u16(0) + u16(1) + u16(2) + u16(0) + u16(2) + u16(1) + u16(0) + u16(0) +
                                chunk(kFaceMaterials3ds, name("steel") + u16(2) + u16(0) + u16(1)) +
                                chunk(0x4150, u32(1) + u32(1)));
    const std::string mesh = chunk(kVertexList3ds, u16(3) + floats({1, 2, 3, 4, 5, 6, 7, 8, 9})) +
                             chunk(kMappingCoords3ds, u16(3) + floats({0, 0, 1, 0, 0, 1})) + faces +
                             chunk(0x4160, floats({1, 0, 0}));
    const Read r = read(file3ds(
        chunk(kMeshVersion3ds, u32(3)) + chunk(kMasterScale3ds, floats({2.5f})) +
        chunk(kBackgroundColour3ds, chunk(kColourFloat3ds, floats({0.1f, 0.2f, 0.3f}))) +
        chunk(kAmbientColour3ds, chunk(kColourBytes3ds, "\x10\x80\xff")) + material + object("lamp", light) +
        object("cam", camera) + object(std::string(1000, 'o'), chunk(kTriMesh3ds, mesh)) + triangleObject(7)));
    ASSERT_TRUE(r.result);
    EXPECT_EQ(r.mesh.vertexCount, 6u);
    EXPECT_EQ(r.mesh.faces, (std::vector<Vec3u>{{0, 1, 2}, {2, 1, 0}, {0, 1, 2}}));
    EXPECT_EQ(r.mesh.vertices[3], (Vec3f{7, 0, 0}));

    EXPECT_EQ(r.scene.masterScale, 2.5f);
    EXPECT_EQ(r.scene.ambient.g, 128 / 255.0f);
    ASSERT_EQ(r.scene.materials.size(), 1u);
    const Material3ds& m = r.scene.materials[0];
    EXPECT_EQ(m.name, std::string(256, 'n'));  // names keep 256 characters
    EXPECT_EQ(m.quarterDiffuse.g, 0.8f * 0.25f);
    EXPECT_EQ(m.shininess, 0.5f * 300.0f);
    EXPECT_EQ(m.transparency.b, 0.2f);
    EXPECT_EQ(m.textureMap + m.bumpMap, "wood.pngbump.png");
    ASSERT_EQ(r.scene.lights.size(), 1u);
    EXPECT_FALSE(r.scene.lights[0].on);
    EXPECT_EQ(r.scene.lights[0].outerRange, 20.0f);
    ASSERT_EQ(r.scene.cameras.size(), 1u);
    EXPECT_EQ(r.scene.cameras[0].farRange, 1000.0f);
}

TEST_F(Read3ds, ColourAndPercentageOfAnotherKindFail) {
    for (const std::string& bad : {chunk(kAmbientColour3ds, chunk(0x0013, floats({1, 1, 1}))),
                                   chunk(kBackgroundColour3ds, chunk(kPercentInt3ds, u16(5))),
                                   chunk(kMaterial3ds, chunk(kMaterialDiffuse3ds, chunk(0x0012, "rgb"))),
                                   chunk(kMaterial3ds, chunk(kMaterialShininess3ds, chunk(kColourFloat3ds, "rgb"))),
                                   chunk(kMaterial3ds, chunk(kMaterialTransparency3ds, chunk(0x0032, u16(5))))}) {
        const Read r = read(file3ds(triangleObject(0) + bad + triangleObject(5)));
        EXPECT_FALSE(r.result);
        // What came before the failure stays; nothing after it is read.
        EXPECT_EQ(r.mesh.vertexCount, 3u);
        EXPECT_EQ(r.mesh.faceCount, 1u);
    }
}

TEST_F(Read3ds, TopLevel) {
    const std::string good = file3ds(triangleObject(0));
    // The first chunk must be a main chunk; after it others are skipped.
    EXPECT_FALSE(read(chunk(0x1234, u32(1)) + good).result);
    EXPECT_FALSE(read(good.substr(0, 5)).result);
    const Read twice = read(good + chunk(0x1234, u32(1)) + good);
    EXPECT_TRUE(twice.result);
    EXPECT_EQ(twice.mesh.vertexCount, 6u);
    // Fewer bytes than a header at the end fail the read, keeping the mesh.
    const Read tail = read(good + "abc");
    EXPECT_FALSE(tail.result);
    EXPECT_EQ(tail.mesh.vertexCount, 3u);
}

TEST_F(Read3ds, ShortLengthsCountAsABareHeader) {
    for (std::uint32_t length : {0u, 1u, 5u}) {
        const std::string empty = chunkWithLength(0x7777, length);
        const Read r = read(file3ds(empty + triangleObject(0) +
                                    object("o", empty + chunk(kTriMesh3ds, empty + chunk(kVertexList3ds, u16(0))))) +
                            empty);
        EXPECT_TRUE(r.result) << length;
        EXPECT_EQ(r.mesh.vertexCount, 3u) << length;
    }
    // A container of length 0 has no children: what follows is read by its
    // parent, where an object is unknown and skipped.
    const Read r = read(chunk(kMain3ds, chunkWithLength(kEditor3ds, 0) + triangleObject(0)));
    EXPECT_TRUE(r.result);
    EXPECT_EQ(r.mesh.vertexCount, 0u);
    // A million of them take linear time.
    std::string many;
    for (int i = 0; i < 1'000'000; ++i) many += chunkWithLength(0x7777, 0);
    EXPECT_TRUE(read(file3ds(many + triangleObject(0))).result);
}

TEST_F(Read3ds, LengthsPastTheParentOrTheFile) {
    // A length of 0xFFFFFFFF does not wrap around: the walks around it end.
    const Read skipped = read(file3ds(triangleObject(0) + chunkWithLength(0x7777, 0xFFFFFFFFu) + triangleObject(5)));
    EXPECT_TRUE(skipped.result);
    EXPECT_EQ(skipped.mesh.vertexCount, 3u);
    // A main chunk longer than the file runs into its end.
    const Read longMain = read(chunkWithLength(kMain3ds, 0xFFFFFFFFu, chunk(kEditor3ds, triangleObject(0))));
    EXPECT_FALSE(longMain.result);
    EXPECT_EQ(longMain.mesh.vertexCount, 3u);
    // Counts beyond the chunk read on into what follows, up to the end of the file.
    const std::string vertices = chunk(kVertexList3ds, u16(0xFFFF) + floats({1, 2, 3}));
    const Read overrun = read(file3ds(object("o", chunk(kTriMesh3ds, vertices + floats({4, 5, 6, 7})))));
    EXPECT_FALSE(overrun.result);
    EXPECT_EQ(overrun.mesh.vertices, (std::vector<Vec3f>{{1, 2, 3}, {4, 5, 6}}));
    const Read faces = read(file3ds(object("o", chunk(kTriMesh3ds, chunk(kFaceList3ds, u16(9) + u16(0) + u16(1) +
                                                                                         u16(2) + u16(0) + u16(5))))));
    EXPECT_FALSE(faces.result);
    EXPECT_EQ(faces.mesh.faces, (std::vector<Vec3u>{{0, 1, 2}}));
}

TEST_F(Read3ds, SelfNestingChunksDoNotRecurse) {
    // Below its own level a container's id is unknown, so 200,000 levels of
    // it are skipped in one step.
    const int depth = 200'000;
    for (const std::string& bytes :
         {nestedChunks(kMain3ds, depth, triangleObject(0)),
          chunk(kMain3ds, nestedChunks(kEditor3ds, depth, triangleObject(0))),
          file3ds(object("o", nestedChunks(kTriMesh3ds, depth, triangleObject(0)))),
          file3ds(nestedChunks(kMaterial3ds, depth, triangleObject(0)))}) {
        const Read r = read(bytes);
        EXPECT_TRUE(r.result);
        EXPECT_EQ(r.mesh.vertexCount, 0u);
    }
    // Objects and lights read data first, so their nested headers become names
    // and numbers; the walk just has to finish.
    read(file3ds(nestedChunks(kObject3ds, depth, triangleObject(0))));
    read(file3ds(object("o", nestedChunks(kLight3ds, depth, triangleObject(0)))));
}

TEST_F(Read3ds, TruncatedAndDamagedFiles) {
    const std::string good = file3ds(
        chunk(kMaterial3ds, chunk(kMaterialName3ds, name("m")) +
                                chunk(kMaterialDiffuse3ds, chunk(kColourFloat3ds, floats({1, 1, 1}))) +
                                chunk(kMaterialTextureMap3ds, chunk(kMapFileName3ds, name("t.png")))) +
        object("l", chunk(kLight3ds, floats({1, 2, 3}) + chunk(kLightSpot3ds, floats({1, 2, 3, 4, 5})))) +
        object("c", chunk(kCamera3ds, floats({1, 2, 3, 4, 5, 6, 7, 8}) + chunk(kCameraRanges3ds, floats({1, 2})))) +
        triangleObject(0) + triangleObject(1));
    ASSERT_TRUE(read(good).result);
    for (std::size_t length = 0; length < good.size(); ++length) EXPECT_FALSE(read(good.substr(0, length)).result);
    std::mt19937 random(99);
    for (int round = 0; round < 500; ++round) {
        std::string damaged = good;
        for (int hits = 1 + static_cast<int>(random() % 4); hits > 0; --hits)
            damaged[random() % damaged.size()] = static_cast<char>(random() % 256);
        read(damaged);
    }
}

TEST_F(Read3ds, EntryPoint) {
    KELP_REQUIRE_READER_LOCALE();
    const std::string good = dir.file("good.3ds"), bad = dir.file("bad.3ds");
    KelpTest::writeFile(good, file3ds(triangleObject(5)));
    KelpTest::writeFile(bad, "not a 3ds file");
    KelpTriMesh mesh;
    mesh.faceAttributes = KelpCore::KelpAttributeNormals;
    mesh.addVertex({9, 9, 9});
    mesh.addFace(0, 0, 0);
    // The locale goes back to "C" whatever the result.
    EXPECT_FALSE(KelpGraphic::KelpRead3ds(dir.file("missing.3ds").c_str(), &mesh));
    EXPECT_EQ(KelpTest::currentLocale(), "C");
    EXPECT_FALSE(KelpGraphic::KelpRead3ds(bad.c_str(), &mesh));
    EXPECT_EQ(KelpTest::currentLocale(), "C");
    ASSERT_TRUE(KelpGraphic::KelpRead3ds(good.c_str(), &mesh));
    EXPECT_EQ(KelpTest::currentLocale(), "C");
    // Appended to what the mesh held, indices unadjusted.
    EXPECT_EQ(mesh.vertexCount, 4u);
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 0, 0}, {0, 1, 2}}));
    EXPECT_EQ(mesh.faceNormals.size(), 2u);
}

}  // namespace
