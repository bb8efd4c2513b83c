#include <KelpFileIO.h>
#include <KelpImageLoad.h>

#include "support/LocaleGuard.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <string>

using KelpCore::KelpTriMesh;
using KelpCore::Vec2f;
using KelpCore::Vec3f;
using KelpCore::Vec3u;

namespace {

KelpTriMesh readText(const KelpTest::TempDir& dir, const std::string& text) {
    const std::string path = dir.file("m.obj");
    KelpTest::writeFile(path, text);
    KelpTriMesh mesh;
    EXPECT_TRUE(KelpGraphic::KelpReadObj(path.c_str(), &mesh));
    return mesh;
}

void writePng(const std::string& path, unsigned width, unsigned height) {
    std::vector<unsigned char> pixels(width * height * 3, 77);
    KelpCore::KelpImageData<unsigned char> image;
    image.data = pixels.data();
    image.width = width;
    image.height = height;
    image.channels = 3;
    ASSERT_NE(KelpImageLoad::KelpWriteImage(path.c_str(), image), 0);
}

TEST(ObjReader, TriangleAndRepeatedFinalStatement) {
    KelpTest::LocaleGuard guard;
    KelpTest::TempDir dir;
    KelpTriMesh mesh = readText(dir, "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    EXPECT_EQ(mesh.vertexCount, 3u);
    ASSERT_EQ(mesh.faceCount, 1u);
    EXPECT_EQ(mesh.faces[0], (Vec3u{0, 1, 2}));
    EXPECT_EQ(mesh.faceFlags.size(), 1u);

    // The final "v" runs again with its old values when a line break follows.
    mesh = readText(dir, "v 1 2 3\n");
    ASSERT_EQ(mesh.vertexCount, 2u);
    EXPECT_EQ(mesh.vertices[1], (Vec3f{1, 2, 3}));
    mesh = readText(dir, "v 1 2 3");
    EXPECT_EQ(mesh.vertexCount, 1u);
}

TEST(ObjReader, FaceCornerGrammar) {
    KelpTest::LocaleGuard guard;
    KelpTest::TempDir dir;
    const std::string five = "v 0 0 0\nv 0 0 0\nv 0 0 0\nv 0 0 0\nv 0 0 0\n";
    struct Case {
        const char* face;
        std::vector<Vec3u> faces;
    } cases[] = {
        {"f 1 2 3 4", {{0, 1, 2}, {0, 2, 3}}},
        {"f -1 -2 -3", {{4, 3, 2}}},
        {"f  1 2 3", {{0, 0, 1}, {0, 1, 2}}},
        {"f 1 2 3 # note", {{0, 1, 2}, {0, 2, 2}, {0, 2, 2}}},
        {"f 1 2", {}},
        {"f 1//2 2//3 3//4", {{0, 1, 2}}},
        {"f 4294967297 2 3", {{0, 1, 2}}},
        {"f 0 2 3", {{0xFFFFFFFFu, 1, 2}}},
    };
    for (const Case& c : cases) {
        const KelpTriMesh mesh = readText(dir, five + c.face + "\n");
        EXPECT_EQ(mesh.faces, c.faces) << c.face;
        EXPECT_FALSE(mesh.hasTexture);
    }
}

TEST(ObjReader, TexturedFacesAndVtFlip) {
    KelpTest::LocaleGuard guard;
    KelpTest::TempDir dir;
    writePng(dir.file("t.png"), 4, 2);
    KelpTest::writeFile(dir.file("m.mtl"), "newmtl m\nmap_Kd t.png\n");
    const std::string head = "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nv 2 2 0\nvt 0.25 -0.25\nvt -0.25 0.5\n";

    KelpTriMesh mesh = readText(dir, head + "f 1/4/2 2/5/3 3/6/4\n");
    ASSERT_TRUE(mesh.hasTexture);
    EXPECT_EQ(mesh.textureImage.width, 4u);
    EXPECT_EQ(mesh.textureImage.height, 2u);
    EXPECT_EQ(mesh.textureImage.channels, 3u);
    ASSERT_NE(mesh.textureImage.data, nullptr);
    EXPECT_EQ(mesh.textureImage.data[7], 77);
    EXPECT_EQ(mesh.texCoords, (std::vector<Vec2f>{{0.25f, 0.75f}, {-0.25f, 0.5f}}));
    EXPECT_EQ(mesh.texCoordCount, 2u);
    EXPECT_EQ(mesh.faceTexCoordIndices, (std::vector<Vec3u>{{3, 4, 5}}));
    EXPECT_TRUE(mesh.hasFaceTexCoordIndices);

    // An empty last component repeats the last number: texture = vertex.
    mesh = readText(dir, head + "f 3/ 4/ 5/\n");
    EXPECT_EQ(mesh.faceTexCoordIndices, (std::vector<Vec3u>{{2, 3, 4}}));
    // Negative texture indices count back from the vertex count.
    mesh = readText(dir, head + "f 1/-1 2/-2 3/-3\n");
    EXPECT_EQ(mesh.faceTexCoordIndices, (std::vector<Vec3u>{{4, 3, 2}}));
    // Fewer texture indices than corners: only the complete triples.
    mesh = readText(dir, head + "f 1/1 2/2 3/3 4 5//\n");
    EXPECT_EQ(mesh.faceCount, 3u);
    EXPECT_EQ(mesh.faceTexCoordIndices, (std::vector<Vec3u>{{0, 1, 2}}));
    EXPECT_FALSE(mesh.hasFaceTexCoordIndices);
    // Without "vt" the loaded image is dropped, and the mesh keeps no texture.
    mesh = readText(dir, "mtllib m.mtl\nv 0 0 0\n");
    EXPECT_FALSE(mesh.hasTexture);
    EXPECT_EQ(mesh.textureImage.data, nullptr);
}

TEST(ObjReader, NormalsBelongToVerticesByOrder) {
    KelpTest::LocaleGuard guard;
    KelpTest::TempDir dir;
    KelpTriMesh mesh = readText(dir, "vn 1 0 0\nvn 0 1 0\nvn 0 0 1\nv 0 0 0\nv 1 0 0\nv 2 0 0\nv 3 0 0\nv 4 0 0\n");
    EXPECT_EQ(mesh.vertexAttributes & 1u, 1u);
    ASSERT_EQ(mesh.vertexNormals.size(), 6u);  // the final "v" ran twice
    EXPECT_EQ(mesh.vertexNormals[1], (Vec3f{0, 1, 0}));
    EXPECT_EQ(mesh.vertexNormals[2], (Vec3f{0, 0, 1}));
    // More normals than vertices: the extra ones are dropped.
    mesh = readText(dir, "v 0 0 0\nvn 1 0 0\nvn 0 1 0\nvn 0 0 1");
    ASSERT_EQ(mesh.vertexNormals.size(), 1u);
    EXPECT_EQ(mesh.vertexNormals[0], (Vec3f{1, 0, 0}));
}

TEST(ObjReader, OddStatementsAndLongFields) {
    KelpTest::LocaleGuard guard;
    KelpTest::TempDir dir;
    // Capital V is unknown; a fourth number becomes a statement word whose
    // line is skipped; a 100-character word is one word, not a buffer overrun.
    KelpTriMesh mesh = readText(dir, "V 1 2 3\nv 1 2 3 4 v 9 9 9\n" + std::string(100, 'v') + " 1 2 3\nv 5 6 7");
    ASSERT_EQ(mesh.vertexCount, 2u);
    EXPECT_EQ(mesh.vertices[1], (Vec3f{5, 6, 7}));
    // A face line of 2100 bytes: what lies past 2047 bytes is read as statements.
    std::string text = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf";
    std::string rest;
    while (rest.size() < 2046) rest += " 1";
    rest += " ";  // 2047 bytes: the line buffer is full just before the "v"
    text += rest + "v 7 8 9\n";
    mesh = readText(dir, text);
    ASSERT_EQ(mesh.vertexCount, 5u);  // the final "v" runs twice
    EXPECT_EQ(mesh.vertices[3], (Vec3f{7, 8, 9}));
    // A corner of 200 characters keeps its number.
    mesh = readText(dir, "v 0 0 0\nv 0 0 0\nv 0 0 0\nf 1/" + std::string(200, '9') + " 2 3\n");
    EXPECT_EQ(mesh.faceCount, 1u);
}

TEST(ObjReader, MissingFileAndGarbage) {
    KELP_REQUIRE_READER_LOCALE();
    KelpTest::LocaleGuard guard;
    KelpTest::TempDir dir;
    KelpTriMesh mesh;
    EXPECT_FALSE(KelpGraphic::KelpReadObj(dir.file("none.obj").c_str(), &mesh));
    EXPECT_EQ(KelpTest::currentLocale(), "C");
    std::string garbage;
    for (int i = 0; i < 100000; ++i) garbage.push_back(static_cast<char>((i * 7919) % 256));
    mesh = readText(dir, garbage + "\nmtllib\nmtllib " + std::string(3000, 'm') + "\nf -2147483648 1 2\n");
    EXPECT_EQ(KelpTest::currentLocale(), "C");
    // An "mtllib" naming a directory must not hurt either.
    mesh = readText(dir, "mtllib .\nmtllib ..\nv 1 1 1");
    EXPECT_EQ(mesh.vertexCount, 1u);
}

}  // namespace

namespace {

TEST(ObjReader, BlankRunsRepeatTheNextCorner) {
    KelpTest::LocaleGuard guard;
    KelpTest::TempDir dir;
    // From offset 0 the word "12" (length 2) is found after 7 blanks; the
    // offsets 0, 3 and 6 all find it, offset 9 lands on the blank before "5".
    const KelpTriMesh mesh = readText(dir, "v 0 0 0\nf       12 5\n");
    ASSERT_EQ(mesh.faceCount, 2u);
    EXPECT_EQ(mesh.faces[0], (Vec3u{11, 11, 11}));
    EXPECT_EQ(mesh.faces[1], (Vec3u{11, 11, 4}));
}

}  // namespace
