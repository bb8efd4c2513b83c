#include <KelpFileIO.h>

#include "ply/PlyImport.h"

#include "PlyTestFiles.h"
#include "support/LocaleGuard.h"

#include <gtest/gtest.h>

#include <clocale>
#include <random>
#include <vector>

using KelpCore::KelpTriMesh;
using KelpCore::Vec3f;
using KelpCore::Vec3u;
using KelpPlyTest::Bytes;
using KelpPlyTest::header;

namespace {

constexpr const char* kVertexXyz = "element vertex 4\nproperty float x\nproperty float y\nproperty float z\n";

class PlyImport : public ::testing::Test {
protected:
    KelpPly::PlyImportResult import(const std::string& bytes) {
        const std::string path = dir.file("m.ply");
        KelpTest::writeFile(path, bytes);
        return KelpPly::importPly(path.c_str(), &mesh);
    }

    void expectConsistent() const {
        EXPECT_EQ(mesh.vertexCount, mesh.vertices.size());
        EXPECT_EQ(mesh.vertexFlags.size(), mesh.vertices.size());
        EXPECT_EQ(mesh.faceCount, mesh.faces.size());
        EXPECT_EQ(mesh.faceFlags.size(), mesh.faces.size());
    }

    static Bytes fourVertices() {
        Bytes b;
        for (int i = 0; i < 4; ++i) b.f32(1.0f + i).f32(2.0f + i).f32(3.0f + i);
        return b;
    }

    KelpTest::TempDir dir;
    KelpTriMesh mesh;
};

const std::vector<Vec3f> kFourVertices = {{1, 2, 3}, {2, 3, 4}, {3, 4, 5}, {4, 5, 6}};

TEST_F(PlyImport, AsciiAndBinaryLittleEndianLoad) {
    const std::string decl = std::string(kVertexXyz) + "element face 2\nproperty list uchar int vertex_indices\n";
    auto r = import(header("ascii", decl) + "1 2 3\n2 3 4\n3 4 5\n4 5 6\n3 0 1 2\n3 2 1 3\n");
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(mesh.vertices, kFourVertices);
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 1, 2}, {2, 1, 3}}));
    expectConsistent();

    mesh = KelpTriMesh();
    const Bytes body = fourVertices().u8(3).i32(0).i32(1).i32(2).u8(3).i32(2).i32(1).i32(3);
    EXPECT_EQ(import(header("binary_little_endian", decl) + body.data).code, 0);
    EXPECT_EQ(mesh.vertices, kFourVertices);
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 1, 2}, {2, 1, 3}}));
    expectConsistent();

    // The exported entry: the same file, appended after what the mesh held.
    const std::string path = dir.file("m.ply");
    ASSERT_TRUE(KelpGraphic::KelpReadPly(path.c_str(), &mesh));
    EXPECT_EQ(mesh.vertexCount, 8u);
    EXPECT_EQ(mesh.faces.size(), 4u);
    EXPECT_EQ(mesh.faces[2], (Vec3u{0, 1, 2}));  // not offset by the earlier vertices
    EXPECT_FALSE(KelpGraphic::KelpReadPly(nullptr, &mesh));
    EXPECT_FALSE(KelpGraphic::KelpReadPly(dir.file("missing.ply").c_str(), &mesh));
}

TEST_F(PlyImport, BigEndianFilesReadAsReadAndRefuseZeroCoordinates) {
    const std::string decl = std::string(kVertexXyz) + "element face 1\nproperty list uchar int vertex_indices\n";
    // Floats and int indices are taken in the machine's order even here.
    auto body = fourVertices().u8(3).i32(3).i32(2).i32(1);
    EXPECT_EQ(import(header("binary_big_endian", decl) + body.data).code, 0);
    EXPECT_EQ(mesh.vertices, kFourVertices);
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{3, 2, 1}}));

    // A coordinate of exactly 0.0 fails the instance: the vertices before it stay.
    mesh = KelpTriMesh();
    Bytes zero;
    zero.f32(1).f32(1).f32(1).f32(2).f32(0.0f).f32(2).f32(3).f32(3).f32(3).f32(4).f32(4).f32(4);
    auto r = import(header("binary_big_endian", decl) + zero.u8(3).i32(0).i32(1).i32(2).data);
    EXPECT_EQ(r.code, KelpPly::PlyImportBadInstance);
    EXPECT_EQ(mesh.vertices, (std::vector<Vec3f>{{1, 1, 1}}));
    // The same bytes under little endian load.
    mesh = KelpTriMesh();
    EXPECT_EQ(import(header("binary_little_endian", decl) + zero.data).code, 0);
    EXPECT_EQ(mesh.vertexCount, 4u);
}

TEST_F(PlyImport, BigEndianZeroRuleCoversEveryStoredIntAndFloat) {
    const std::string decl =
        "element vertex 2\nproperty float x\nproperty float y\nproperty float z\nproperty float nx\n"
        "property float ny\nproperty float nz\nproperty float quality\nproperty int flags\nproperty uchar red\n"
        "property uchar green\nproperty uchar blue\n"
        "element face 2\nproperty int flags\nproperty list uchar int vertex_indices\nproperty uchar red\n"
        "property int texnumber\n";
    // One vertex or face field set to zero at a time; only requested int and
    // float fields (normals, flags) fail the load.
    struct Case {
        int vertexZero;  // index of the vertex field zeroed, or -1
        int faceZero;    // 0 = flags, 1 = red, 2 = texnumber, -1 none
        int code;
        std::uint32_t vertices, faces;
    };
    const std::vector<Case> cases = {{-1, -1, 0, 2, 2},        {3, -1, 16, 0, 0}, {6, -1, 0, 2, 2},
                                     {7, -1, 16, 0, 0},        {8, -1, 0, 2, 2},  {-1, 0, 16, 2, 0},
                                     {-1, 1, 0, 2, 2},         {-1, 2, 0, 2, 2}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.vertexZero << " " << c.faceZero);
        Bytes body;
        for (int v = 0; v < 2; ++v) {
            for (int field = 0; field < 7; ++field) body.f32(field == c.vertexZero && v == 0 ? 0.0f : 1.0f + field);
            body.i32(c.vertexZero == 7 && v == 0 ? 0 : 5);
            body.u8(c.vertexZero == 8 && v == 0 ? 0 : 1).u8(2).u8(3);
        }
        for (int f = 0; f < 2; ++f) {
            body.i32(c.faceZero == 0 && f == 0 ? 0 : 4).u8(3).i32(0).i32(1).i32(0);
            body.u8(c.faceZero == 1 && f == 0 ? 0 : 7).i32(c.faceZero == 2 && f == 0 ? 0 : 8);
        }
        mesh = KelpTriMesh();
        EXPECT_EQ(import(header("binary_big_endian", decl) + body.data).code, c.code);
        EXPECT_EQ(mesh.vertexCount, c.vertices);
        EXPECT_EQ(mesh.faceCount, c.faces);
        // Under little endian every case loads.
        mesh = KelpTriMesh();
        EXPECT_EQ(import(header("binary_little_endian", decl) + body.data).code, 0);
        EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 1, 0}, {0, 1, 0}}));
    }
}

TEST_F(PlyImport, AcceptedAndRefusedFaceEncodings) {
    struct Case {
        const char* declaration;
        Bytes face;
        bool accepted;
    };
    const std::vector<Case> cases = {
        {"property list uchar int vertex_indices\n", Bytes().u8(3).i32(0).i32(1).i32(2), true},
        {"property list uchar int vertex_index\n", Bytes().u8(3).i32(0).i32(1).i32(2), true},
        {"property list char int vertex_indices\n", Bytes().u8(3).i32(0).i32(1).i32(2), true},
        {"property list int8 int32 vertex_index\n", Bytes().u8(3).i32(0).i32(1).i32(2), true},
        // uint items are reversed under little endian.
        {"property list uchar uint vertex_indices\n", Bytes().u8(3).be(0, 4).be(1, 4).be(2, 4), true},
        {"property list uchar uint vertex_index\n", Bytes().u8(3).i32(0).i32(1).i32(2), false},
        {"property list uchar short vertex_indices\n", Bytes().u8(3).le(0, 2).le(1, 2).le(2, 2), false},
        {"property list uchar ushort vertex_indices\n", Bytes().u8(3).le(0, 2).le(1, 2).le(2, 2), false},
        {"property list uchar uchar vertex_indices\n", Bytes().u8(3).u8(0).u8(1).u8(2), false},
        {"property list ushort int vertex_indices\n", Bytes().le(3, 2).i32(0).i32(1).i32(2), false},
        {"property list int int vertex_indices\n", Bytes().i32(3).i32(0).i32(1).i32(2), false},
        {"property list uchar int indices\n", Bytes().u8(3).i32(0).i32(1).i32(2), false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.declaration);
        mesh = KelpTriMesh();
        const auto r = import(header("binary_little_endian",
                                     std::string(kVertexXyz) + "element face 1\n" + c.declaration) +
                              fourVertices().data + c.face.data);
        if (c.accepted) {
            EXPECT_EQ(r.code, 0);
            EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 1, 2}}));
        } else {
            EXPECT_EQ(r.code, KelpPly::PlyImportNoFaces);
            EXPECT_EQ(mesh.vertexCount, 0u);
        }
    }
}

TEST_F(PlyImport, RefusedFiles) {
    // Double positions, no vertex element, or a point cloud.
    const std::string faces = "element face 0\nproperty list uchar int vertex_indices\n";
    EXPECT_EQ(import(header("ascii", "element vertex 1\nproperty double x\nproperty double y\nproperty double z\n" +
                                         faces) +
                     "1 2 3\n")
                  .code,
              KelpPly::PlyImportNoVertices);
    EXPECT_EQ(import(header("ascii", faces)).code, KelpPly::PlyImportNoVertices);
    EXPECT_EQ(import(header("ascii", std::string(kVertexXyz))).code, KelpPly::PlyImportNoFaces);
    EXPECT_EQ(import("ply\nformat ascii 1.0\nelement vertex\n").code, 5);
    EXPECT_EQ(mesh.vertexCount, 0u);
}

TEST_F(PlyImport, NonTriangleFacesStopTheLoadKeepingWhatCameBefore) {
    const std::string decl = std::string(kVertexXyz) + "element face 3\nproperty list uchar int vertex_indices\n";
    auto r = import(header("ascii", decl) + "1 2 3\n2 3 4\n3 4 5\n4 5 6\n3 0 1 2\n4 0 1 2 3\n3 1 2 3\n");
    EXPECT_EQ(r.code, KelpPly::PlyImportNotTriangle);
    EXPECT_EQ(mesh.vertexCount, 4u);
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 1, 2}}));
    expectConsistent();

    // 515 corners would wrap the one-byte size to 3: refused without overrunning.
    mesh = KelpTriMesh();
    std::string big = "515";
    for (int i = 0; i < 515; ++i) big += " 1";
    r = import(header("ascii", decl) + "1 2 3\n2 3 4\n3 4 5\n4 5 6\n" + big + "\n");
    EXPECT_EQ(r.code, KelpPly::PlyImportBadInstance);
    EXPECT_EQ(mesh.faceCount, 0u);

    // A one-byte count of 255 fits the record and is refused as a non-triangle.
    mesh = KelpTriMesh();
    Bytes wide = fourVertices().u8(255);
    for (int i = 0; i < 255; ++i) wide.i32(i);
    r = import(header("binary_little_endian", decl) + wide.data);
    EXPECT_EQ(r.code, KelpPly::PlyImportNotTriangle);
}

TEST_F(PlyImport, StripsDecodeWithRestarts) {
    const std::string decl = "element vertex 0\nproperty float x\nproperty float y\nproperty float z\n"
                             "element tristrips 2\nproperty list int int vertex_indices\n";
    auto r = import(header("ascii", decl) + "5 0 1 2 3 4\n8 0 1 2 -1 3 4 5 6\n");
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 1, 2}, {2, 1, 3}, {2, 3, 4}, {0, 1, 2}, {3, 4, 5}, {5, 4, 6}}));

    mesh = KelpTriMesh();
    const Bytes body = Bytes().i32(3).i32(7).i32(7).i32(8).i32(6).i32(0).i32(1).i32(-1).i32(2).i32(3).i32(4);
    r = import(header("binary_little_endian", decl) + body.data);
    EXPECT_EQ(r.code, 0);
    // Degenerate triangles stay; after a restart at an odd position the
    // orientation flips.
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{7, 7, 8}, {2, 3, 4}}));
    expectConsistent();

    // Strips of 0 items and an absurd count that the file cannot hold.
    mesh = KelpTriMesh();
    EXPECT_EQ(import(header("binary_little_endian", decl) + Bytes().i32(0).i32(-5).data).code, 0);
    EXPECT_EQ(import(header("binary_little_endian", decl) + Bytes().i32(0x40000000).i32(1).data).code,
              KelpPly::PlyImportBadInstance);
    EXPECT_EQ(import(header("binary_big_endian", decl) + Bytes().i32(0).data).code,
              KelpPly::PlyImportBadInstance);
}

TEST_F(PlyImport, StripsBesideFacesAreSkipped) {
    const std::string decl = std::string(kVertexXyz) +
                             "element face 1\nproperty list uchar int vertex_indices\n"
                             "element tristrips 1\nproperty list int int vertex_indices\n";
    auto r = import(header("ascii", decl) + "1 2 3\n2 3 4\n3 4 5\n4 5 6\n3 0 1 2\n4 3 2 1 0\n");
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 1, 2}}));
}

TEST_F(PlyImport, OptionalPropertiesAreReadAndDropped) {
    const std::string decl =
        "element vertex 2\nproperty float x\nproperty float y\nproperty float z\nproperty float nx\n"
        "property float ny\nproperty float nz\nproperty uchar red\nproperty uchar green\nproperty uchar blue\n"
        "property int flags\nproperty float quality\nproperty uchar diffuse_red\nproperty uchar diffuse_green\n"
        "property uchar diffuse_blue\n"
        "element material 1\nproperty list uchar float data\n"
        "element face 1\nproperty int flags\nproperty list uchar int vertex_indices\nproperty uchar red\n"
        "property uchar green\nproperty uchar blue\nproperty list uchar float color\nproperty float quality\n";
    const std::string vertexLine = "1 2 3 0 0 1 255 128 0 7 0.5 1 2 3\n";
    auto r = import(header("ascii", decl) + vertexLine + vertexLine + "2 1.5 2.5\n" +
                    "9 3 1 0 1 10 20 30 2 0.1 0.2 0.7\n");
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.attributeMask, 0x2u | 0x4u | 0x10u | 0x80u | 0x100u | 0x800u);
    EXPECT_EQ(mesh.vertices, (std::vector<Vec3f>{{1, 2, 3}, {1, 2, 3}}));
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{1, 0, 1}}));
    EXPECT_TRUE(mesh.vertexNormals.empty());
    expectConsistent();

    // The same file in binary (little endian): the per-instance decoder and the
    // routines give the same mesh; the zero-item colour list needs no skip.
    mesh = KelpTriMesh();
    Bytes v;
    for (int i = 0; i < 2; ++i)
        v.f32(1).f32(2).f32(3).f32(0).f32(0).f32(1).u8(255).u8(128).u8(0).i32(7).f32(0.5f).u8(1).u8(2).u8(3);
    v.u8(1).f32(1.5f);
    v.i32(9).u8(3).i32(1).i32(0).i32(1).u8(10).u8(20).u8(30).u8(0).f32(0.7f);
    r = import(header("binary_little_endian", decl) + v.data);
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(mesh.vertices, (std::vector<Vec3f>{{1, 2, 3}, {1, 2, 3}}));
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{1, 0, 1}}));
}

TEST_F(PlyImport, AttributeArraysFollowTheMesh) {
    mesh.vertexAttributes = KelpCore::KelpAttributeNormals;
    mesh.faceAttributes = KelpCore::KelpAttributeNormals;
    const std::string decl = std::string(kVertexXyz) + "element face 1\nproperty list uchar int vertex_indices\n";
    ASSERT_EQ(import(header("binary_little_endian", decl) + fourVertices().u8(3).i32(0).i32(1).i32(2).data).code, 0);
    EXPECT_EQ(mesh.vertexNormals.size(), 4u);
    EXPECT_EQ(mesh.vertexNormals[0], (Vec3f{0, 0, 1}));
    EXPECT_EQ(mesh.faceNormals.size(), 1u);
}

TEST_F(PlyImport, TruncatedAndAbsurdInputsFailWithoutHarm) {
    const std::string decl = std::string("element vertex 2147483647\nproperty float x\nproperty float y\n"
                                         "property float z\nelement face 2147483647\n"
                                         "property list uchar int vertex_indices\n");
    for (const char* format : {"ascii", "binary_little_endian", "binary_big_endian"}) {
        SCOPED_TRACE(format);
        mesh = KelpTriMesh();
        const bool ascii = std::string(format) == "ascii";
        auto r = import(header(format, decl) + (ascii ? std::string("1 2 3\n4 5 6\n7 8") : fourVertices().data));
        EXPECT_EQ(r.code, KelpPly::PlyImportBadInstance);
        EXPECT_EQ(mesh.vertexCount, ascii ? 2u : 4u);
        EXPECT_LT(mesh.vertices.capacity(), 1000u);  // nothing sized from the declared count
    }

    // A body cut inside the last face: what came before stays.
    const std::string small = std::string(kVertexXyz) + "element face 2\nproperty list uchar int vertex_indices\n";
    const std::string body = fourVertices().u8(3).i32(0).i32(1).i32(2).u8(3).i32(1).data;
    mesh = KelpTriMesh();
    EXPECT_EQ(import(header("binary_little_endian", small) + body).code, KelpPly::PlyImportBadInstance);
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 1, 2}}));
    // Under big endian int items are not checked: the cut face passes with zeros.
    mesh = KelpTriMesh();
    EXPECT_EQ(import(header("binary_big_endian", small) + body).code, 0);
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 1, 2}, {1, 0, 0}}));

    // Elements without properties hold nothing, whatever their count.
    mesh = KelpTriMesh();
    EXPECT_EQ(import(header("binary_little_endian", "element junk 2147483647\n" + small +
                                                        "element vertex 2147483647\nelement face 2147483647\n") +
                     fourVertices().u8(3).i32(0).i32(1).i32(2).u8(3).i32(1).i32(2).i32(3).data)
                  .code,
              0);
    EXPECT_EQ(mesh.vertexCount, 4u);
    EXPECT_EQ(mesh.faceCount, 2u);

    // Random bytes after end_header, in every encoding.
    std::mt19937 random(1234);
    for (int round = 0; round < 60; ++round) {
        const char* format = round % 3 == 0 ? "ascii" : round % 3 == 1 ? "binary_little_endian" : "binary_big_endian";
        std::string noise(static_cast<std::size_t>(random() % 600), '\0');
        for (char& c : noise) c = static_cast<char>(random());
        mesh = KelpTriMesh();
        import(header(format, small + "element tristrips 3\nproperty list int int vertex_indices\n"
                                      "element other 5\nproperty list uchar double d\nproperty short s\n") +
               noise);
        expectConsistent();
    }
}

TEST_F(PlyImport, MutatedBodiesNeverCrash) {
    const std::string decl = std::string(kVertexXyz) +
                             "property uchar red\nelement face 2\nproperty int flags\n"
                             "property list uchar int vertex_indices\nproperty list uchar float color\n"
                             "element tristrips 1\nproperty list int int vertex_indices\n"
                             "element extra 2\nproperty list ushort double d\nproperty short s\n";
    Bytes body;
    for (int i = 0; i < 4; ++i) body.f32(1.0f + i).f32(2).f32(3).u8(9);
    for (int i = 0; i < 2; ++i) body.i32(1).u8(3).i32(0).i32(1).i32(2).u8(2).f32(0.5f).f32(0.25f);
    body.i32(5).i32(0).i32(1).i32(-1).i32(2).i32(3);
    for (int i = 0; i < 2; ++i) body.u8(1).le(0, 8).le(7, 2);
    std::mt19937 random(99);
    for (const char* format : {"binary_little_endian", "binary_big_endian"}) {
        const std::string clean = header(format, decl);
        for (int round = 0; round < 150; ++round) {
            std::string bytes = body.data;
            for (int flips = 1 + static_cast<int>(random() % 4); flips > 0; --flips)
                bytes[random() % bytes.size()] = static_cast<char>(random());
            if (round % 5 == 0) bytes.resize(random() % bytes.size());
            mesh = KelpTriMesh();
            import(clean + bytes);
            expectConsistent();
        }
    }
}

TEST_F(PlyImport, DoesNotSwitchTheLocale) {
    KELP_REQUIRE_READER_LOCALE();
    KelpTest::LocaleGuard guard;
    std::setlocale(LC_ALL, KelpTest::kReaderLocale);
    const std::string before = KelpTest::currentLocale();
    const std::string decl = std::string(kVertexXyz) + "element face 1\nproperty list uchar int vertex_indices\n";
    EXPECT_EQ(import(header("ascii", decl) + "1 2 3\n2 3 4\n3 4 5\n4 5 6\n3 0 1 2\n").code, 0);
    EXPECT_EQ(KelpTest::currentLocale(), before);
}

}  // namespace
