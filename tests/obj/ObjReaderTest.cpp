// Exact results of the reader's quirks and of the texture hand-over;
// ObjStdioAgreementTest checks the loop against the C library on random input.
#include <KelpFileIO.h>

#include "ObjTestImages.h"
#include "support/FileTest.h"

#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <sys/stat.h>
#endif

#include <filesystem>

#include <string>

using KelpCore::KelpTriMesh;
using KelpCore::Vec3f;
using KelpCore::Vec3u;

namespace {

class ObjReader : public KelpTest::FileTest {
protected:
    KelpTriMesh readText(const std::string& text) {
        KelpTriMesh mesh;
        EXPECT_TRUE(KelpGraphic::KelpReadObj(write(text), &mesh));
        return mesh;
    }
    // A 4 by 2 texture of grey 77 as t.png.
    void saveTexture() { ASSERT_TRUE(KelpObjTest::saveImage(dir.file("t.png"), std::vector<unsigned char>(24, 77), 4, 2, 3)); }
};

TEST_F(ObjReader, StatementQuirks) {
    // The last statement runs once more when white space follows it.
    EXPECT_EQ(readText("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n").faces, (std::vector<Vec3u>{{0, 1, 2}}));
    EXPECT_EQ(readText("v 1 2 3\n").vertices, (std::vector<Vec3f>{{1, 2, 3}, {1, 2, 3}}));
    EXPECT_EQ(readText("v 1 2 3").vertexCount, 1u);
    EXPECT_EQ(readText("V 1 2 3\nv 1 2 3").vertexCount, 1u);  // keywords are case-sensitive
    const struct {
        const char* face;
        std::vector<Vec3u> faces;
    } cases[] = {
        {"f 1 2 3 4", {{0, 1, 2}, {0, 2, 3}}},
        {"f -1 -2 -3", {{4, 3, 2}}},
        {"f  1 2 3", {{0, 0, 1}, {0, 1, 2}}},
        {"f 1 2 3 # note", {{0, 1, 2}, {0, 2, 2}, {0, 2, 2}}},
        {"f       12 5", {{11, 11, 11}, {11, 11, 4}}},  // offsets 0, 3 and 6 all find "12"
        {"f 0 2 3", {{0xFFFFFFFFu, 1, 2}}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(readText("v 0 0 0\nv 0 0 0\nv 0 0 0\nv 0 0 0\nv 0 0 0\n" + std::string(c.face)).faces, c.faces)
            << c.face;
}

TEST_F(ObjReader, TextureComesFromTheFirstMaterial) {
    saveTexture();
    KelpTest::writeFile(dir.file("m.mtl"), "newmtl m\nmap_Kd t.png\n");
    const std::string head = "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nvt 0.25 -0.25\nvt -0.25 0.5\n";
    KelpTriMesh mesh = readText(head + "f 1/2/3 2/1/3 3/2/1\n");
    ASSERT_TRUE(mesh.hasTexture);
    ASSERT_NE(mesh.textureImage.data, nullptr);
    EXPECT_EQ(mesh.textureImage.data[23], 77);
    EXPECT_EQ(mesh.texCoords, (std::vector<KelpCore::Vec2f>{{0.25f, 0.75f}, {-0.25f, 0.5f}}));
    EXPECT_EQ(mesh.faceTexCoordIndices, (std::vector<Vec3u>{{1, 0, 1}}));
    // The count and the flag are set so that the writer gives the lines back,
    // the flag only when every face has its triple.
    EXPECT_EQ(mesh.texCoordCount, 2u);
    EXPECT_TRUE(mesh.hasFaceTexCoordIndices);
    EXPECT_FALSE(readText(head + "f 1/1 2/2 3/3 4\n").hasFaceTexCoordIndices);
    // An empty last component repeats the last number read.
    EXPECT_EQ(readText(head + "f 2/ 3/ 4/\n").faceTexCoordIndices, (std::vector<Vec3u>{{1, 2, 3}}));
    EXPECT_EQ(readText("mtllib m.mtl\nv 0 0 0\n").textureImage.data, nullptr);  // no "vt"

    // Only names whose cut extension reads JPG, BMP, PNG or TIF load; the
    // file's content decides how it is decoded.
    const std::string png = KelpTest::readFile(dir.file("t.png"));
    const struct {
        const char* library;
        bool loads;
    } cases[] = {
        {"newmtl m\nmap_Kd TEX.Jpg\n", true},     {"newmtl m\nmap_Kd .pngx\n", true},
        {"newmtl m\nmap_Kd t.jpeg\n", false},     {"newmtl m\nmap_Kd my.t.jpg\n", false},
        {"newmtl a\nKd 1 0 0\n# x\nnewmtl b\nmap_Kd t.png\n", false},
    };
    for (const char* name : {"TEX.Jpg", ".pngx", "t.jpeg", "my.t.jpg"}) KelpTest::writeFile(dir.file(name), png);
    for (const auto& c : cases) {
        KelpTest::writeFile(dir.file("m.mtl"), c.library);
        EXPECT_EQ(readText("mtllib m.mtl\nvt 0 0\n").hasTexture, c.loads) << c.library;
    }
}

// File content names the material library and the texture: a device, a FIFO
// or a directory there counts as a missing file (/dev/zero would be read
// without end, a FIFO without a writer would block the read for ever).
TEST_F(ObjReader, SideFilesThatAreNotRegularFilesCountAsMissing) {
#if defined(_WIN32)
    GTEST_SKIP() << "devices and FIFOs in the file system are POSIX's";
#else
    saveTexture();
    std::filesystem::create_symlink("/dev/zero", dir.file("zero.mtl"));
    std::filesystem::create_symlink("/dev/zero", dir.file("zero.jpg"));
    std::filesystem::create_directory(dir.file("dir.png"));
    ASSERT_EQ(mkfifo(dir.file("fifo.mtl").c_str(), 0600), 0);
    ASSERT_EQ(mkfifo(dir.file("fifo.png").c_str(), 0600), 0);
    const std::string body = "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nf 1/1 2/1 3/1\n";
    const struct {
        const char* library;  // written as m.mtl; empty: the OBJ names `mtllib`
        const char* mtllib;
        bool loads;
    } cases[] = {
        {"", "zero.mtl", false},
        {"", "fifo.mtl", false},
        {"newmtl m\nmap_Kd zero.jpg\n", "m.mtl", false},
        {"newmtl m\nmap_Kd fifo.png\n", "m.mtl", false},
        {"newmtl m\nmap_Kd dir.png\n", "m.mtl", false},
        {"newmtl m\nmap_Kd t.png\n", "m.mtl", true},
    };
    for (const auto& c : cases) {
        if (*c.library) KelpTest::writeFile(dir.file("m.mtl"), c.library);
        const KelpTriMesh mesh = readText("mtllib " + std::string(c.mtllib) + "\n" + body);
        EXPECT_EQ(mesh.hasTexture, c.loads) << c.mtllib << ": " << c.library;
        EXPECT_EQ(mesh.faceCount, 1u) << c.mtllib << ": " << c.library;
    }
#endif
}

// The face arrays are sized ahead from the density of the first face lines;
// a file whose density changes afterwards (denser fans after a long comment
// stretch) must still end with every face, flag and texture triple in place.
TEST_F(ObjReader, FaceArraysSizedAheadKeepEveryFace) {
    saveTexture();
    KelpTest::writeFile(dir.file("m.mtl"), "newmtl m\nmap_Kd t.png\n");
    std::string text = "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nvt 0 0\nvt 1 1\n";
    // Vertex lists long enough to be sized ahead too, followed by what their density did not foresee.
    for (int i = 0; i < 9000; ++i) text += "v " + std::to_string(i) + " 2 3\nvn 0 0 " + std::to_string(i) + "\n";
    for (int i = 0; i < 9000; ++i) text += "vt 0.5 " + std::to_string(i) + "\n";
    for (int i = 0; i < 10000; ++i) text += "f 1/1 2/2 3/1\n";
    for (int i = 0; i < 10000; ++i) text += "# a comment line that the face density did not foresee\n";
    for (int i = 0; i < 30000; ++i) text += "f 1/2 2/1 3/2 4/1\n";
    const KelpTriMesh mesh = readText(text);
    ASSERT_EQ(mesh.faceCount, 70000u);
    ASSERT_EQ(mesh.faces.size(), 70000u);
    ASSERT_EQ(mesh.faceFlags, std::vector<std::uint32_t>(70000, 0u));
    ASSERT_EQ(mesh.faceTexCoordIndices.size(), 70000u);
    EXPECT_EQ(mesh.faces[9999], (Vec3u{0, 1, 2}));
    EXPECT_EQ(mesh.faces[69999], (Vec3u{0, 2, 3}));
    EXPECT_EQ(mesh.faceTexCoordIndices[0], (Vec3u{0, 1, 0}));
    EXPECT_EQ(mesh.faceTexCoordIndices[69998], (Vec3u{1, 0, 1}));
    ASSERT_EQ(mesh.vertices.size(), 9004u);
    ASSERT_EQ(mesh.vertexNormals.size(), 9004u);
    ASSERT_EQ(mesh.texCoords.size(), 9002u);
    EXPECT_EQ(mesh.vertices[9003], (Vec3f{8999.0f, 2.0f, 3.0f}));
    EXPECT_EQ(mesh.vertexNormals[8999], (Vec3f{0.0f, 0.0f, 8999.0f}));
    EXPECT_EQ(mesh.texCoords[9001], (KelpCore::Vec2f{0.5f, 8999.0f}));
}

TEST_F(ObjReader, Garbage) {
    KELP_REQUIRE_READER_LOCALE();
    std::string garbage;
    for (int i = 0; i < 100000; ++i) garbage.push_back(static_cast<char>((i * 7919) % 256));
    readText(garbage + "\nmtllib\nmtllib " + std::string(3000, 'm') + "\n" + std::string(100, 'v') + " 1\nf 1/" +
                      std::string(200, '9') + " -2147483648 2\nmtllib .\nmtllib ..\n");
    EXPECT_EQ(KelpTest::currentLocale(), "C");
}

}  // namespace
