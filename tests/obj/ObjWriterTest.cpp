#include <KelpFileIO.h>

#include "support/LocaleGuard.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

using KelpCore::KelpTriMesh;
using KelpCore::Vec3u;

namespace {

// The side files follow the path as given (a '/' does not end the base
// name), so every test writes relative paths from inside its own directory.
struct InDirectory {
    KelpTest::TempDir dir;
    std::filesystem::path previous = std::filesystem::current_path();
    InDirectory() { std::filesystem::current_path(dir.path()); }
    ~InDirectory() { std::filesystem::current_path(previous); }
};

// Coordinates that show the six significant digits of the number format.
KelpTriMesh triangle() {
    KelpTriMesh mesh;
    for (const KelpCore::Vec3f& v : {KelpCore::Vec3f{0.1f, 1e5f, 1e6f}, {1.0f / 3, 123456789.0f, -2.5e-7f}, {0, 1, 0}})
        mesh.addVertex(v);
    mesh.addFace(0, 1, 2);
    return mesh;
}
const std::string kTriangleLines = "# 3 vertices, 1 faces\nv 0.1 100000 1e+06\nv 0.333333 1.23457e+08 -2.5e-07\nv 0 1 0\n";

std::string written(KelpTriMesh& mesh, const char* path = "tri.obj") {
    EXPECT_TRUE(KelpGraphic::KelpWriteObj(path, &mesh));
    return KelpTest::readTextFile(path);
}

TEST(ObjWriter, LinesAndCornerForms) {
    KelpTest::LocaleGuard guard;
    InDirectory here;
    KelpTriMesh empty;
    EXPECT_EQ(written(empty, "e"), "# 0 vertices, 0 faces\nusemtl eMaterial\n");
    KelpTriMesh mesh = triangle();
    EXPECT_EQ(written(mesh), kTriangleLines + "usemtl triMaterial\nf 1 2 3 \n");
    // Texture corners follow their flag alone: no "vt" lines without a count.
    mesh.hasTexture = mesh.hasFaceTexCoordIndices = true;
    mesh.faceTexCoordIndices = {Vec3u{3, 4, 5}};
    EXPECT_EQ(written(mesh), kTriangleLines + "usemtl triMaterial\nf 1/4 2/5 3/6 \n");
    mesh.vertexAttributes = KelpCore::KelpAttributeNormals;
    mesh.vertexNormals.assign(3, {0, 0, 1});
    mesh.texCoordCount = 1;
    mesh.texCoords = {{0.5f, 0.25f}};
    EXPECT_EQ(written(mesh), kTriangleLines + "vn 0 0 1\nvn 0 0 1\nvn 0 0 1\nvt 0.5 0.25\nusemtl triMaterial\n"
                                              "f 1/4/1 2/5/2 3/6/3 \n");
    mesh.hasFaceTexCoordIndices = false;
    EXPECT_NE(written(mesh).find("\nf 1//1 2//2 3//3 \n"), std::string::npos);
}

TEST(ObjWriter, SideFilesRoundTrip) {
    KelpTest::LocaleGuard guard;
    InDirectory here;
    KelpTriMesh mesh = triangle();
    mesh.textureImage = {new unsigned char[16 * 8 * 3](), 16, 8, 3, 0};
    mesh.hasTexture = mesh.hasFaceTexCoordIndices = true;
    mesh.texCoordCount = 3;
    mesh.texCoords = {{0, 0}, {1, 0}, {0.75f, 0.5f}};
    mesh.faceTexCoordIndices = {Vec3u{2, 1, 0}};
    const std::string first = written(mesh);
    EXPECT_EQ(first.rfind("mtllib tri.mtl\n" + kTriangleLines, 0), 0u) << first;
    EXPECT_EQ(KelpTest::readTextFile("tri.mtl"), "newmtl triMaterial\nmap_Kd tri.jpg\n");
    // Read back (texture included) and written again, it gives the same text.
    KelpTriMesh back;
    ASSERT_TRUE(KelpGraphic::KelpReadObj("tri.obj", &back));
    std::string second = written(back, "again.obj");
    for (std::size_t at; (at = second.find("again")) != std::string::npos;) second.replace(at, 5, "tri");
    EXPECT_EQ(first, second);

    // "out/mesh.obj" has the base name "out/mesh": its side files go to out/out/.
    std::filesystem::create_directories("out/out");
    EXPECT_EQ(written(mesh, "out/mesh.obj").rfind("mtllib out/mesh.mtl\n", 0), 0u);
    EXPECT_EQ(KelpTest::readTextFile("out/out/mesh.mtl"), "newmtl out/meshMaterial\nmap_Kd out/mesh.jpg\n");
    EXPECT_TRUE(std::filesystem::exists("out/out/mesh.jpg"));
    // Without out/out the side files are silently missing.
    std::filesystem::create_directories("lone");
    EXPECT_NE(written(mesh, "lone/mesh.obj").find("usemtl lone/meshMaterial\n"), std::string::npos);
}

}  // namespace
