#include <KelpFileIO.h>

#include "support/LocaleGuard.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

using KelpCore::KelpTriMesh;
using KelpCore::Vec3u;

namespace {

// The side-file rules work on the path as given, so these tests write with
// relative paths from inside their temporary directory.
class InDirectory {
public:
    explicit InDirectory(const std::filesystem::path& dir) : previous_(std::filesystem::current_path()) {
        std::filesystem::current_path(dir);
    }
    ~InDirectory() { std::filesystem::current_path(previous_); }

private:
    std::filesystem::path previous_;
};

KelpTriMesh triangle() {
    KelpTriMesh mesh;
    mesh.addVertex({0, 0, 0});
    mesh.addVertex({1, 0, 0});
    mesh.addVertex({0, 1, 0});
    mesh.addFace(0, 1, 2);
    return mesh;
}

void giveTexture(KelpTriMesh& mesh, unsigned width, unsigned height) {
    mesh.textureImage.width = width;
    mesh.textureImage.height = height;
    mesh.textureImage.channels = 3;
    mesh.textureImage.data = new unsigned char[width * height * 3];
    for (unsigned i = 0; i < width * height * 3; ++i) mesh.textureImage.data[i] = static_cast<unsigned char>(i * 13);
}

std::string written(KelpTriMesh& mesh, const char* path = "tri.obj") {
    EXPECT_TRUE(KelpGraphic::KelpWriteObj(path, &mesh));
    return KelpTest::readFile(path);
}

TEST(ObjWriter, PlainAndNormalLines) {
    KelpTest::LocaleGuard guard;
    KelpTest::TempDir dir;
    InDirectory here(dir.path());
    KelpTriMesh mesh = triangle();
    EXPECT_EQ(written(mesh), "# 3 vertices, 1 faces\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl triMaterial\nf 1 2 3 \n");
    EXPECT_FALSE(std::filesystem::exists("tri.jpg"));
    EXPECT_FALSE(std::filesystem::exists("tri.mtl"));

    mesh.vertexAttributes = 1;
    mesh.updateVertexAttributes();
    for (auto& n : mesh.vertexNormals) n = {0, 0, 1};
    EXPECT_EQ(written(mesh), "# 3 vertices, 1 faces\nv 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 0 1\nvn 0 0 1\nvn 0 0 1\n"
                             "usemtl triMaterial\nf 1//1 2//2 3//3 \n");

    KelpTriMesh empty;
    EXPECT_EQ(written(empty, "e"), "# 0 vertices, 0 faces\nusemtl eMaterial\n");
}

TEST(ObjWriter, TextureCornerFormsAreIndependent) {
    KelpTest::LocaleGuard guard;
    KelpTest::TempDir dir;
    InDirectory here(dir.path());
    KelpTriMesh mesh = triangle();
    mesh.hasFaceTexCoordIndices = true;
    mesh.faceTexCoordIndices = {Vec3u{3, 4, 5}};
    mesh.hasTexture = true;  // with texCoordCount 0: no "vt" lines
    EXPECT_EQ(written(mesh), "# 3 vertices, 1 faces\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl triMaterial\nf 1/4 2/5 3/6 \n");
    mesh.vertexAttributes = 1;
    mesh.updateVertexAttributes();
    mesh.texCoordCount = 1;
    mesh.texCoords = {{0.5f, 0.25f}};
    const std::string text = written(mesh);
    EXPECT_NE(text.find("\nvn 0 0 0\nvt 0.5 0.25\nusemtl"), std::string::npos) << text;
    // Counts beyond the arrays read as zeros, never past the end.
    mesh.texCoordCount = 2;
    mesh.addFace(0, 2, 1);
    const std::string padded = written(mesh);
    EXPECT_NE(padded.find("\nvt 0.5 0.25\nvt 0 0\nusemtl"), std::string::npos) << padded;
    EXPECT_NE(padded.find("\nf 1/1/1 3/1/3 2/1/2 \n"), std::string::npos) << padded;
    EXPECT_NE(text.find("\nf 1/4/1 2/5/2 3/6/3 \n"), std::string::npos) << text;
}

TEST(ObjWriter, NumberFormatting) {
    KelpTest::LocaleGuard guard;
    KelpTest::TempDir dir;
    InDirectory here(dir.path());
    KelpTriMesh mesh;
    mesh.addVertex({0.1f, 100000.0f, 1000000.0f});
    mesh.addVertex({-2.5e-7f, 123456789.0f, 1.0f / 3.0f});
    EXPECT_EQ(written(mesh), "# 2 vertices, 0 faces\nv 0.1 100000 1e+06\nv -2.5e-07 1.23457e+08 0.333333\n"
                             "usemtl triMaterial\n");
}

TEST(ObjWriter, SideFilesAndFailure) {
    KELP_REQUIRE_READER_LOCALE();
    KelpTest::LocaleGuard guard;
    KelpTest::TempDir dir;
    InDirectory here(dir.path());
    KelpTriMesh mesh = triangle();
    giveTexture(mesh, 8, 4);
    const std::string text = written(mesh);
    EXPECT_EQ(text.rfind("mtllib tri.mtl\n# 3 vertices, 1 faces\n", 0), 0u) << text;
    EXPECT_TRUE(std::filesystem::exists("tri.jpg"));
    EXPECT_EQ(KelpTest::readFile("tri.mtl"), "newmtl triMaterial\nmap_Kd tri.jpg\n");
    EXPECT_EQ(KelpTest::currentLocale(), "C");

    // A '/' is not a separator for the base name: "out/mesh.obj" puts its
    // side files into out/out/.
    std::filesystem::create_directories("out/out");
    EXPECT_TRUE(KelpGraphic::KelpWriteObj("out/mesh.obj", &mesh));
    EXPECT_EQ(KelpTest::readFile("out/mesh.obj").rfind("mtllib out/mesh.mtl\n", 0), 0u);
    EXPECT_EQ(KelpTest::readFile("out/out/mesh.mtl"), "newmtl out/meshMaterial\nmap_Kd out/mesh.jpg\n");
    EXPECT_TRUE(std::filesystem::exists("out/out/mesh.jpg"));
    EXPECT_NE(KelpTest::readFile("out/mesh.obj").find("usemtl out/meshMaterial\n"), std::string::npos);

    // Without out/out the side files are silently missing; the OBJ is written.
    std::filesystem::create_directories("lone");
    EXPECT_TRUE(KelpGraphic::KelpWriteObj("lone/mesh.obj", &mesh));
    EXPECT_TRUE(std::filesystem::exists("lone/mesh.obj"));

    EXPECT_FALSE(KelpGraphic::KelpWriteObj("no/such/dir/x.obj", &mesh));
    EXPECT_EQ(KelpTest::currentLocale(), KelpTest::kReaderLocale);
}

TEST(ObjWriter, TexturedMeshRoundTrips) {
    KelpTest::LocaleGuard guard;
    KelpTest::TempDir dir;
    InDirectory here(dir.path());
    KelpTriMesh mesh = triangle();
    mesh.addVertex({1, 1, 0.5f});
    mesh.addFace(1, 3, 2);
    giveTexture(mesh, 16, 8);
    mesh.hasTexture = true;
    mesh.texCoordCount = 4;
    mesh.texCoords = {{0, 0}, {1, 0}, {0, 1}, {0.75f, 0.5f}};
    mesh.hasFaceTexCoordIndices = true;
    mesh.faceTexCoordIndices = {Vec3u{0, 1, 2}, Vec3u{1, 3, 2}};
    ASSERT_TRUE(KelpGraphic::KelpWriteObj("tri.obj", &mesh));

    KelpTriMesh back;
    ASSERT_TRUE(KelpGraphic::KelpReadObj("tri.obj", &back));
    EXPECT_EQ(back.vertices, mesh.vertices);
    EXPECT_EQ(back.faces, mesh.faces);
    ASSERT_TRUE(back.hasTexture);
    EXPECT_EQ(back.texCoords, mesh.texCoords);
    EXPECT_EQ(back.texCoordCount, 4u);
    EXPECT_EQ(back.faceTexCoordIndices, mesh.faceTexCoordIndices);
    EXPECT_TRUE(back.hasFaceTexCoordIndices);
    EXPECT_EQ(back.textureImage.width, 16u);
    EXPECT_EQ(back.textureImage.height, 8u);
    EXPECT_EQ(back.textureImage.channels, 3u);

    // And once more: what was read writes back to the same text.
    ASSERT_TRUE(KelpGraphic::KelpWriteObj("again.obj", &back));
    std::string first = KelpTest::readFile("tri.obj"), second = KelpTest::readFile("again.obj");
    for (std::size_t at; (at = second.find("again")) != std::string::npos;) second.replace(at, 5, "tri");
    EXPECT_EQ(first, second);
}

}  // namespace
