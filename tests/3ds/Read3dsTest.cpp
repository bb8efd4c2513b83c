#include <KelpFileIO.h>

#include "3ds/Scene3ds.h"
#include "support/LocaleGuard.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <vector>

using KelpCore::KelpTriMesh;
using KelpCore::Vec3f;
using KelpCore::Vec3u;
using KelpTest::putF32;
using KelpTest::putU16;
using KelpTest::putU32;

namespace {

// --- building 3DS bytes -----------------------------------------------------

std::string chunkWithLength(std::uint16_t id, std::uint32_t length, const std::string& content = {}) {
    std::string out;
    putU16(out, id);
    putU32(out, length);
    return out + content;
}

std::string chunk(std::uint16_t id, const std::string& content = {}) {
    return chunkWithLength(id, static_cast<std::uint32_t>(6 + content.size()), content);
}

std::string u16(std::uint16_t v) {
    std::string out;
    putU16(out, v);
    return out;
}

std::string u32(std::uint32_t v) {
    std::string out;
    putU32(out, v);
    return out;
}

std::string floats(std::initializer_list<float> values) {
    std::string out;
    for (float v : values) putF32(out, v);
    return out;
}

std::string name(const std::string& text) { return text + std::string(1, '\0'); }

std::string vertexList(const std::vector<Vec3f>& vertices) {
    std::string out = u16(static_cast<std::uint16_t>(vertices.size()));
    for (const Vec3f& v : vertices) out += floats({v[0], v[1], v[2]});
    return chunk(Kelp3ds::kVertexList3ds, out);
}

std::string faceData(const std::vector<std::array<std::uint16_t, 3>>& faces) {
    std::string out = u16(static_cast<std::uint16_t>(faces.size()));
    for (const auto& f : faces) out += u16(f[0]) + u16(f[1]) + u16(f[2]) + u16(7);
    return out;
}

std::string object(const std::string& objectName, const std::string& content) {
    return chunk(Kelp3ds::kObject3ds, name(objectName) + content);
}

std::string triangleObject(const std::string& objectName, float offset) {
    return object(objectName, chunk(Kelp3ds::kTriMesh3ds,
                                    vertexList({{offset, 0, 0}, {offset + 1, 0, 0}, {offset, 1, 0}}) +
                                        chunk(Kelp3ds::kFaceList3ds, faceData({{0, 1, 2}}))));
}

std::string file3ds(const std::string& editorContent) {
    return chunk(Kelp3ds::kMain3ds, chunk(Kelp3ds::kVersion3ds, u32(3)) + chunk(Kelp3ds::kEditor3ds, editorContent));
}

// --- reading ----------------------------------------------------------------

struct Read {
    bool result = false;
    KelpTriMesh mesh;
    Kelp3ds::Scene3ds scene;
};

class Read3ds : public ::testing::Test {
protected:
    // Walks `bytes` with a large buffer and with the smallest one (so that
    // every field crosses block boundaries somewhere); both must agree.
    Read read(const std::string& bytes) {
        const std::string path = dir.file("scene.3ds");
        KelpTest::writeFile(path, bytes);
        Read large = walk(path, std::size_t{1} << 20);
        Read small = walk(path, 64);
        EXPECT_EQ(large.result, small.result);
        EXPECT_EQ(large.mesh.vertices, small.mesh.vertices);
        EXPECT_EQ(large.mesh.faces, small.mesh.faces);
        EXPECT_EQ(large.mesh.vertexCount, large.mesh.vertices.size());
        EXPECT_EQ(large.mesh.faceCount, large.mesh.faces.size());
        EXPECT_EQ(large.mesh.faceFlags.size(), large.mesh.faces.size());
        return large;
    }

    static Read walk(const std::string& path, std::size_t blockSize) {
        Read out;
        std::FILE* file = std::fopen(path.c_str(), "rb");
        if (!file) {
            ADD_FAILURE() << "cannot open " << path;
            return out;
        }
        out.result = Kelp3ds::readChunks(file, out.mesh, out.scene, blockSize);
        std::fclose(file);
        return out;
    }

    KelpTest::LocaleGuard locale;
    KelpTest::TempDir dir;
};

TEST_F(Read3ds, OneObject) {
    const Read r = read(file3ds(triangleObject("tri", 0)));
    EXPECT_TRUE(r.result);
    EXPECT_EQ(r.mesh.vertices, (std::vector<Vec3f>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}));
    EXPECT_EQ(r.mesh.faces, (std::vector<Vec3u>{{0, 1, 2}}));
    EXPECT_EQ(r.mesh.faceFlags, (std::vector<std::uint32_t>{0}));
    EXPECT_EQ(r.scene.fileVersion, 3u);
}

TEST_F(Read3ds, FaceIndicesAreNotOffsetAcrossObjects) {
    const Read r = read(file3ds(triangleObject("a", 0) + triangleObject("b", 10)));
    EXPECT_TRUE(r.result);
    EXPECT_EQ(r.mesh.vertexCount, 6u);
    EXPECT_EQ(r.mesh.vertices[3], (Vec3f{10, 0, 0}));
    EXPECT_EQ(r.mesh.faces, (std::vector<Vec3u>{{0, 1, 2}, {0, 1, 2}}));
}

TEST_F(Read3ds, EmptyListsAddNothing) {
    const Read r = read(file3ds(object(
        "empty", chunk(Kelp3ds::kTriMesh3ds, vertexList({}) + chunk(Kelp3ds::kFaceList3ds, faceData({}))))));
    EXPECT_TRUE(r.result);
    EXPECT_EQ(r.mesh.vertexCount, 0u);
    EXPECT_EQ(r.mesh.faceCount, 0u);
}

TEST_F(Read3ds, AppendsToWhatTheMeshHolds) {
    const std::string path = dir.file("append.3ds");
    KelpTest::writeFile(path, file3ds(triangleObject("t", 5)));
    KelpTriMesh mesh;
    mesh.faceAttributes = KelpCore::KelpAttributeNormals;
    mesh.addVertex({9, 9, 9});
    mesh.addFace(0, 0, 0);
    ASSERT_TRUE(KelpGraphic::KelpRead3ds(path.c_str(), &mesh));
    EXPECT_EQ(mesh.vertexCount, 4u);
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 0, 0}, {0, 1, 2}}));
    EXPECT_EQ(mesh.faceNormals.size(), 2u);
}

TEST_F(Read3ds, SceneRecordsAreReadByteExactly) {
    using namespace Kelp3ds;
    const std::string material = chunk(
        kMaterial3ds,
        chunk(kMaterialName3ds, name("steel")) +
            chunk(kMaterialAmbient3ds, chunk(kColourBytes3ds, "\x33\x66\xff")) +
            chunk(kMaterialDiffuse3ds, chunk(kColourFloat3ds, floats({0.4f, 0.8f, 1.0f}))) +
            chunk(kMaterialSpecular3ds, chunk(kColourFloat3ds, floats({1, 1, 1})) +
                                            chunk(0x0012, floats({2, 2, 2}))) +  // gamma colour: a sibling, skipped
            chunk(kMaterialShininess3ds, chunk(kPercentInt3ds, u16(50))) +
            chunk(kMaterialShininessStrength3ds, chunk(kPercentFloat3ds, floats({0.25f}))) +
            chunk(kMaterialTransparency3ds, chunk(kPercentInt3ds, u16(20))) + chunk(kMaterialTwoSided3ds) +
            chunk(kMaterialShading3ds, u16(3)) + chunk(0xA087, floats({1})) +
            chunk(kMaterialTextureMap3ds,
                  chunk(kPercentInt3ds, u16(100)) + chunk(kMapFileName3ds, name("wood.png")) + chunk(0xA351, u16(0))) +
            chunk(kMaterialBumpMap3ds, chunk(kMapFileName3ds, name("bump.png"))));
    const std::string light = chunk(
        kLight3ds, floats({1, 2, 3}) + chunk(kColourBytes3ds, std::string("\x00\xff\x00", 3)) +
                       chunk(kLightSpot3ds, floats({4, 5, 6, 30, 45})) + chunk(kLightOff3ds) +
                       chunk(kLightAttenuate3ds) + chunk(kLightInnerRange3ds, floats({10})) +
                       chunk(kLightOuterRange3ds, floats({20})) + chunk(0x4680, floats({7})));
    const std::string camera =
        chunk(kCamera3ds, floats({1, 2, 3, 4, 5, 6, 0.5f, 35}) + chunk(0x4710, u16(1)) +
                              chunk(kCameraRanges3ds, floats({0.1f, 1000})));
    const Read r = read(file3ds(
        chunk(kMeshVersion3ds, u32(3)) + chunk(kMasterScale3ds, floats({2.5f})) +
        chunk(kBackgroundColour3ds, chunk(kColourFloat3ds, floats({0.1f, 0.2f, 0.3f}))) +
        chunk(kAmbientColour3ds, chunk(kColourBytes3ds, std::string("\x00\x80\xff", 3))) + material +
        object("lamp", light) + object("cam", camera) + triangleObject("after", 7)));
    ASSERT_TRUE(r.result);
    // Everything after the records is still found where it belongs.
    ASSERT_EQ(r.mesh.vertexCount, 3u);
    EXPECT_EQ(r.mesh.vertices[0], (Vec3f{7, 0, 0}));
    EXPECT_EQ(r.mesh.faces, (std::vector<Vec3u>{{0, 1, 2}}));

    EXPECT_EQ(r.scene.meshVersion, 3u);
    EXPECT_EQ(r.scene.masterScale, 2.5f);
    EXPECT_EQ(r.scene.background.b, 0.3f);
    EXPECT_EQ(r.scene.ambient.g, 128 / 255.0f);

    ASSERT_EQ(r.scene.materials.size(), 1u);
    const Material3ds& m = r.scene.materials[0];
    EXPECT_EQ(m.name, "steel");
    EXPECT_EQ(m.ambient.r, 0x33 / 255.0f);
    EXPECT_EQ(m.ambient.b, 1.0f);
    EXPECT_EQ(m.diffuse.g, 0.8f);
    EXPECT_EQ(m.quarterDiffuse.g, 0.8f * 0.25f);
    EXPECT_EQ(m.specular.r, 1.0f);
    EXPECT_EQ(m.shininess, 0.5f * 300.0f);
    EXPECT_EQ(m.shininessStrength, 0.25f);
    EXPECT_EQ(m.transparency.g, 0.2f);
    EXPECT_TRUE(m.twoSided);
    EXPECT_EQ(m.shading, 3u);
    EXPECT_EQ(m.textureMap, "wood.png");
    EXPECT_EQ(m.bumpMap, "bump.png");

    ASSERT_EQ(r.scene.lights.size(), 1u);
    const Light3ds& l = r.scene.lights[0];
    EXPECT_EQ(l.position[2], 3.0f);
    EXPECT_EQ(l.colour.g, 1.0f);
    EXPECT_TRUE(l.isSpot);
    EXPECT_EQ(l.target[0], 4.0f);
    EXPECT_EQ(l.hotspot, 30.0f);
    EXPECT_EQ(l.falloff, 45.0f);
    EXPECT_FALSE(l.on);
    EXPECT_TRUE(l.attenuate);
    EXPECT_EQ(l.innerRange, 10.0f);
    EXPECT_EQ(l.outerRange, 20.0f);

    ASSERT_EQ(r.scene.cameras.size(), 1u);
    const Camera3ds& c = r.scene.cameras[0];
    EXPECT_EQ(c.target[2], 6.0f);
    EXPECT_EQ(c.bank, 0.5f);
    EXPECT_EQ(c.lens, 35.0f);
    EXPECT_EQ(c.nearRange, 0.1f);
    EXPECT_EQ(c.farRange, 1000.0f);
}

TEST_F(Read3ds, ColourAndPercentageOfAnotherKindFail) {
    using namespace Kelp3ds;
    const std::string before = triangleObject("first", 0);
    for (const std::string& bad :
         {chunk(kAmbientColour3ds, chunk(0x0013, floats({1, 1, 1}))),
          chunk(kBackgroundColour3ds, chunk(kPercentInt3ds, u16(5))),
          chunk(kMaterial3ds, chunk(kMaterialDiffuse3ds, chunk(0x0012, floats({1, 1, 1})))),
          chunk(kMaterial3ds, chunk(kMaterialShininess3ds, chunk(kColourFloat3ds, floats({1, 1, 1})))),
          chunk(kMaterial3ds, chunk(kMaterialTransparency3ds, chunk(0x0032, u16(5))))}) {
        const Read r = read(file3ds(before + bad + triangleObject("after", 5)));
        EXPECT_FALSE(r.result);
        // What came before the failure stays; nothing after it is read.
        EXPECT_EQ(r.mesh.vertexCount, 3u);
        EXPECT_EQ(r.mesh.faceCount, 1u);
    }
}

TEST_F(Read3ds, NestedChunksAreReadAsSiblings) {
    using namespace Kelp3ds;
    // A face list that carries its face-material and smoothing children, and
    // a vertex list that carries mapping coordinates in its length.
    const std::string faceMaterials = chunk(kFaceMaterials3ds, name("steel") + u16(2) + u16(0) + u16(1));
    const std::string faces = chunk(kFaceList3ds, faceData({{0, 1, 2}, {2, 1, 0}}) + faceMaterials +
                                                      chunk(0x4150, u32(1) + u32(1)));
    const std::string mapping = chunk(kMappingCoords3ds, u16(3) + floats({0, 0, 1, 0, 0, 1}));
    const std::string vertices = vertexList({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
    const std::string mesh = chunk(kTriMesh3ds, vertices + mapping + faces + chunk(0x4160, floats({1, 0, 0})));
    const Read r = read(file3ds(object("o", mesh)));
    EXPECT_TRUE(r.result);
    EXPECT_EQ(r.mesh.vertexCount, 3u);
    EXPECT_EQ(r.mesh.faces, (std::vector<Vec3u>{{0, 1, 2}, {2, 1, 0}}));
}

TEST_F(Read3ds, TheFileMustStartWithAMainChunk) {
    const std::string good = file3ds(triangleObject("t", 0));
    EXPECT_FALSE(read(chunk(0x1234, u32(1)) + good).result);
    EXPECT_FALSE(read("").result);
    EXPECT_FALSE(read(good.substr(0, 5)).result);
    // After it, other top-level chunks are skipped, and so are further mains' peers.
    const Read r = read(good + chunk(0x1234, u32(1)) + good);
    EXPECT_TRUE(r.result);
    EXPECT_EQ(r.mesh.vertexCount, 6u);
    // Fewer than a header's bytes left at the top level fail the read.
    const Read tail = read(good + "abc");
    EXPECT_FALSE(tail.result);
    EXPECT_EQ(tail.mesh.vertexCount, 3u);
}

TEST_F(Read3ds, NamesKeep256CharactersAndConsumeTheRest) {
    using namespace Kelp3ds;
    const std::string longName(300, 'n');
    const Read r = read(file3ds(chunk(kMaterial3ds, chunk(kMaterialName3ds, name(longName))) +
                                triangleObject(longName, 0)));
    EXPECT_TRUE(r.result);
    ASSERT_EQ(r.scene.materials.size(), 1u);
    EXPECT_EQ(r.scene.materials[0].name, std::string(256, 'n'));
    EXPECT_EQ(r.mesh.vertices, (std::vector<Vec3f>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}));
    // A name running to the end of the file is no failure in itself.
    EXPECT_TRUE(read(chunk(kMain3ds, chunkWithLength(kEditor3ds, 6 + 6 + 4,
                                                     chunkWithLength(kObject3ds, 6 + 4, "abcd"))))
                    .result);
}

TEST_F(Read3ds, ShortChunkLengthsStillMoveOn) {
    using namespace Kelp3ds;
    // Lengths 0, 1 and 5 count as a bare header, at every level.
    for (std::uint32_t length : {0u, 1u, 5u}) {
        const std::string editor = chunkWithLength(0x7777, length) + triangleObject("t", 0) +
                                   object("o", chunkWithLength(0x7777, length) + chunk(kTriMesh3ds,
                                                                                       chunkWithLength(0x7777, length) +
                                                                                       vertexList({{1, 1, 1}})));
        const Read r = read(file3ds(editor) +
                            chunkWithLength(0x7777, length));
        EXPECT_TRUE(r.result) << length;
        EXPECT_EQ(r.mesh.vertexCount, 4u) << length;
    }
    // A recognised container of length 0 has no children: what follows it is
    // read by its parent, where an object is unknown and skipped.
    const Read r = read(chunk(kMain3ds, chunkWithLength(kEditor3ds, 0) + triangleObject("t", 0)));
    EXPECT_TRUE(r.result);
    EXPECT_EQ(r.mesh.vertexCount, 0u);
}

TEST_F(Read3ds, LengthsPastTheParentOrTheFile) {
    using namespace Kelp3ds;
    // An unknown chunk claiming 4 GiB ends every walk around it: no wrap-around.
    const Read skipped = read(file3ds(triangleObject("t", 0) + chunkWithLength(0x7777, 0xFFFFFFFFu) +
                                      triangleObject("never", 5)));
    EXPECT_TRUE(skipped.result);
    EXPECT_EQ(skipped.mesh.vertexCount, 3u);
    // A main chunk longer than the file runs into the end of the file.
    const Read longMain =
        read(chunkWithLength(kMain3ds, 0xFFFFFFFFu, chunk(kEditor3ds, triangleObject("t", 0))));
    EXPECT_FALSE(longMain.result);
    EXPECT_EQ(longMain.mesh.vertexCount, 3u);
    // A child that ends past its parent leaves the parent's loop from there.
    const std::string tri = triangleObject("t", 0);
    const Read overlong = read(chunk(kMain3ds, chunk(kEditor3ds, chunkWithLength(kObject3ds, 1000, name("x")) + tri) +
                                                   std::string(1000, '\0')));
    EXPECT_EQ(overlong.mesh.vertexCount, 0u);
}

TEST_F(Read3ds, CountsBeyondTheChunkReadOnUntilTheEndOfTheFile) {
    using namespace Kelp3ds;
    // 65535 vertices announced, two present: the two are kept, the read fails.
    const std::string shortList = chunk(kVertexList3ds, u16(0xFFFF) + floats({1, 2, 3, 4, 5, 6}));
    const Read r = read(file3ds(object("o", chunk(kTriMesh3ds, shortList))));
    EXPECT_FALSE(r.result);
    EXPECT_EQ(r.mesh.vertices, (std::vector<Vec3f>{{1, 2, 3}, {4, 5, 6}}));
    // The same for faces, and with the following bytes taken as vertex data.
    const std::string faces = chunk(kFaceList3ds, u16(1000) + u16(0) + u16(1) + u16(2) + u16(0));
    const Read f = read(file3ds(object("o", chunk(kTriMesh3ds, faces))));
    EXPECT_FALSE(f.result);
    EXPECT_EQ(f.mesh.faces, (std::vector<Vec3u>{{0, 1, 2}}));
    const std::string oneTooMany = chunk(kVertexList3ds, u16(2) + floats({1, 2, 3}));
    const Read g = read(file3ds(object("o", chunk(kTriMesh3ds, oneTooMany + floats({4, 5, 6})))));
    EXPECT_EQ(g.mesh.vertices, (std::vector<Vec3f>{{1, 2, 3}, {4, 5, 6}}));
}

TEST_F(Read3ds, AMillionZeroLengthChunksTakeLinearTime) {
    std::string editor;
    editor.reserve(6'000'100);
    for (int i = 0; i < 1'000'000; ++i) editor += chunkWithLength(0x7777, 0);
    const Read r = read(file3ds(editor + triangleObject("t", 0)));
    EXPECT_TRUE(r.result);
    EXPECT_EQ(r.mesh.vertexCount, 3u);
}

// `depth` chunks of `id`, each inside the one before, around `inner`.
std::string nestedChunks(std::uint16_t id, int depth, const std::string& inner) {
    std::string nested;
    nested.reserve(static_cast<std::size_t>(depth) * 6 + inner.size());
    for (int level = 0; level < depth; ++level)
        nested += chunkWithLength(id, static_cast<std::uint32_t>(6 * (depth - level) + inner.size()));
    return nested + inner;
}

TEST_F(Read3ds, SelfNestingChunksDoNotRecurse) {
    using namespace Kelp3ds;
    // 200,000 levels of a container inside itself: below its own level the id
    // is unknown, so the inner levels are skipped in one step.
    const int depth = 200'000;
    const std::string inner = triangleObject("t", 0);
    for (const std::string& bytes :
         {nestedChunks(kMain3ds, depth, inner), chunk(kMain3ds, nestedChunks(kEditor3ds, depth, inner)),
          file3ds(object("o", nestedChunks(kTriMesh3ds, depth, inner))),
          file3ds(nestedChunks(kMaterial3ds, depth, inner))}) {
        const Read r = read(bytes);
        EXPECT_TRUE(r.result);
        EXPECT_EQ(r.mesh.vertexCount, 0u);
    }
    // Objects and lights read data before their children, so their nested
    // headers are taken as names and numbers; the walk still just finishes.
    read(file3ds(nestedChunks(kObject3ds, depth, inner)));
    read(file3ds(object("o", nestedChunks(kLight3ds, depth, inner))));
}

TEST_F(Read3ds, TruncatedAndDamagedFilesNeverMisbehave) {
    using namespace Kelp3ds;
    const std::string material = chunk(
        kMaterial3ds, chunk(kMaterialName3ds, name("m")) +
                          chunk(kMaterialDiffuse3ds, chunk(kColourFloat3ds, floats({1, 1, 1}))) +
                          chunk(kMaterialShininess3ds, chunk(kPercentInt3ds, u16(5))) +
                          chunk(kMaterialTextureMap3ds, chunk(kMapFileName3ds, name("t.png"))));
    const std::string light = object("l", chunk(kLight3ds, floats({1, 2, 3}) + chunk(kLightSpot3ds, floats({1, 2, 3, 4, 5}))));
    const std::string camera = object("c", chunk(kCamera3ds, floats({1, 2, 3, 4, 5, 6, 7, 8}) +
                                                             chunk(kCameraRanges3ds, floats({1, 2}))));
    const std::string good =
        file3ds(chunk(kAmbientColour3ds, chunk(kColourFloat3ds, floats({1, 1, 1}))) + material + light + camera +
                triangleObject("a", 0) + triangleObject("b", 1));
    ASSERT_TRUE(read(good).result);
    // Every prefix: the first object's vertices appear as soon as their bytes do.
    for (std::size_t length = 0; length < good.size(); ++length) {
        const Read r = read(good.substr(0, length));
        EXPECT_FALSE(r.result) << length;
    }
    // Random damage: only that it finishes cleanly and that the buffer size
    // does not change the outcome (checked by read()).
    std::mt19937 random(99);
    for (int round = 0; round < 500; ++round) {
        std::string damaged = good;
        for (int hits = 1 + static_cast<int>(random() % 4); hits > 0; --hits)
            damaged[random() % damaged.size()] = static_cast<char>(random() % 256);
        read(damaged);
    }
}

TEST_F(Read3ds, EntryPointSwitchesTheLocaleBackWhateverTheResult) {
    KELP_REQUIRE_READER_LOCALE();
    KelpTriMesh mesh;
    EXPECT_FALSE(KelpGraphic::KelpRead3ds(dir.file("missing.3ds").c_str(), &mesh));
    EXPECT_EQ(KelpTest::currentLocale(), "C");
    const std::string bad = dir.file("bad.3ds");
    KelpTest::writeFile(bad, "not a 3ds file");
    EXPECT_FALSE(KelpGraphic::KelpRead3ds(bad.c_str(), &mesh));
    EXPECT_EQ(KelpTest::currentLocale(), "C");
    const std::string good = dir.file("good.3ds");
    KelpTest::writeFile(good, file3ds(triangleObject("t", 0)));
    EXPECT_TRUE(KelpGraphic::KelpRead3ds(good.c_str(), &mesh));
    EXPECT_EQ(KelpTest::currentLocale(), "C");
    EXPECT_EQ(mesh.vertexCount, 3u);
}

}  // namespace
