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
using Faces = std::vector<Vec3u>;

namespace {

const std::string kVertexXyz = "element vertex 4\nproperty float x\nproperty float y\nproperty float z\n";
const std::string kFaceList = "element face 1\nproperty list uchar int vertex_indices\n";
const std::vector<Vec3f> kFourVertices = {{1, 2, 3}, {2, 3, 4}, {3, 4, 5}, {4, 5, 6}};
const std::string kFourVerticesText = "1 2 3\n2 3 4\n3 4 5\n4 5 6\n";

class PlyImport : public ::testing::Test {
protected:
    int import(const std::string& bytes) {
        const std::string path = dir.file("m.ply");
        KelpTest::writeFile(path, bytes);
        mesh = KelpTriMesh();
        const int code = KelpPly::importPly(path.c_str(), &mesh).code;
        EXPECT_EQ(mesh.vertexCount, mesh.vertices.size());
        EXPECT_EQ(mesh.vertexFlags.size(), mesh.vertices.size());
        EXPECT_EQ(mesh.faceCount, mesh.faces.size());
        EXPECT_EQ(mesh.faceFlags.size(), mesh.faces.size());
        return code;
    }

    static Bytes fourVertices() {
        Bytes b;
        for (int i = 0; i < 4; ++i) b.f32(1.0f + i).f32(2.0f + i).f32(3.0f + i);
        return b;
    }

    KelpTest::TempDir dir;
    KelpTriMesh mesh;
};

TEST_F(PlyImport, AsciiAndLittleEndianFilesLoadAndAppend) {
    const std::string decl = kVertexXyz + "element face 2\nproperty list uchar int vertex_indices\n";
    // Lists may run over several lines.
    EXPECT_EQ(import(header("ascii", decl) + kFourVerticesText + "3 0\n1 2\n3 2 1\n 3\n"), 0);
    EXPECT_EQ(mesh.vertices, kFourVertices);
    EXPECT_EQ(mesh.faces, (Faces{{0, 1, 2}, {2, 1, 3}}));

    const Bytes body = fourVertices().u8(3).i32(0).i32(1).i32(2).u8(3).i32(2).i32(1).i32(3);
    EXPECT_EQ(import(header("binary_little_endian", decl) + body.data), 0);
    EXPECT_EQ(mesh.vertices, kFourVertices);
    EXPECT_EQ(mesh.faces, (Faces{{0, 1, 2}, {2, 1, 3}}));

    // The exported entry appends; new faces keep their own numbers.
    ASSERT_TRUE(KelpGraphic::KelpReadPly(dir.file("m.ply").c_str(), &mesh));
    EXPECT_EQ(mesh.vertexCount, 8u);
    EXPECT_EQ(mesh.faces.size(), 4u);
    EXPECT_EQ(mesh.faces[2], (Vec3u{0, 1, 2}));
    EXPECT_FALSE(KelpGraphic::KelpReadPly(nullptr, &mesh));
    EXPECT_FALSE(KelpGraphic::KelpReadPly(dir.file("missing.ply").c_str(), &mesh));
}

// Big endian files are read in the machine's order, and a requested int or
// float of zero fails the instance: what came before it stays.
TEST_F(PlyImport, BigEndianZeroRuleCoversEveryRequestedIntAndFloat) {
    const std::string decl =
        "element vertex 2\nproperty float x\nproperty float y\nproperty float z\nproperty float nx\n"
        "property float ny\nproperty float nz\nproperty float quality\nproperty int flags\nproperty uchar red\n"
        "element face 2\nproperty int flags\nproperty list uchar int vertex_indices\nproperty uchar red\n"
        "property int texnumber\n";
    struct Case {
        int vertexField;  // field of the second vertex set to zero: 0-6 floats, 7 flags, 8 red; -1 none
        int faceField;    // of the second face: 0 flags, 1 red, 2 texnumber; -1 none
        int code;
        std::uint32_t vertices, faces;
    };
    const std::vector<Case> cases = {{-1, -1, 0, 2, 2}, {1, -1, 16, 1, 0}, {3, -1, 16, 1, 0}, {6, -1, 0, 2, 2},
                                     {7, -1, 16, 1, 0}, {8, -1, 0, 2, 2},  {-1, 0, 16, 2, 1}, {-1, 1, 0, 2, 2},
                                     {-1, 2, 0, 2, 2}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.vertexField << " " << c.faceField);
        Bytes body;
        for (int v = 0; v < 2; ++v) {
            for (int field = 0; field < 7; ++field) body.f32(field == c.vertexField && v == 1 ? 0.0f : 1.0f + field);
            body.i32(c.vertexField == 7 && v == 1 ? 0 : 5).u8(c.vertexField == 8 && v == 1 ? 0 : 1);
        }
        for (int f = 0; f < 2; ++f) {
            body.i32(c.faceField == 0 && f == 1 ? 0 : 4).u8(3).i32(0).i32(1).i32(0);
            body.u8(c.faceField == 1 && f == 1 ? 0 : 7).i32(c.faceField == 2 && f == 1 ? 0 : 8);
        }
        EXPECT_EQ(import(header("binary_big_endian", decl) + body.data), c.code);
        EXPECT_EQ(mesh.vertexCount, c.vertices);
        EXPECT_EQ(mesh.faceCount, c.faces);
        if (c.vertices > 0) { EXPECT_EQ(mesh.vertices[0], (Vec3f{1, 2, 3})); }
        if (c.faces > 0) { EXPECT_EQ(mesh.faces[0], (Vec3u{0, 1, 0})); }
        EXPECT_EQ(import(header("binary_little_endian", decl) + body.data), 0);
    }
}

TEST_F(PlyImport, AcceptedAndRefusedFaceEncodings) {
    const Bytes intCorners = Bytes().u8(3).i32(0).i32(1).i32(2);
    const std::vector<std::tuple<std::string, Bytes, bool>> cases = {
        {"list uchar int vertex_indices", intCorners, true},
        {"list uchar int vertex_index", intCorners, true},
        {"list char int vertex_indices", intCorners, true},
        {"list int8 int32 vertex_index", intCorners, true},
        {"list uchar uint vertex_indices", Bytes().u8(3).be(0, 4).be(1, 4).be(2, 4), true},  // reversed
        {"list uchar uint vertex_index", intCorners, false},
        {"list uchar short vertex_indices", Bytes().u8(3).le(0, 2).le(1, 2).le(2, 2), false},
        {"list uchar ushort vertex_indices", Bytes().u8(3).le(0, 2).le(1, 2).le(2, 2), false},
        {"list uchar uchar vertex_indices", Bytes().u8(3).u8(0).u8(1).u8(2), false},
        {"list ushort int vertex_indices", Bytes().le(3, 2).i32(0).i32(1).i32(2), false},
        {"list int int vertex_indices", Bytes().i32(3).i32(0).i32(1).i32(2), false},
        {"list uchar int indices", intCorners, false},
    };
    for (const auto& [declaration, corners, accepted] : cases) {
        SCOPED_TRACE(declaration);
        const std::string decl = kVertexXyz + "element face 1\nproperty " + declaration + "\n";
        EXPECT_EQ(import(header("binary_little_endian", decl) + fourVertices().data + corners.data),
                  accepted ? 0 : KelpPly::PlyImportNoFaces);
        EXPECT_EQ(mesh.faces, (accepted ? Faces{{0, 1, 2}} : Faces{}));
    }
}

TEST_F(PlyImport, RefusedFilesAndNonTriangles) {
    const std::string doubles = "element vertex 1\nproperty double x\nproperty double y\nproperty double z\n";
    EXPECT_EQ(import(header("ascii", doubles + kFaceList) + "1 2 3\n0\n"), KelpPly::PlyImportNoVertices);
    EXPECT_EQ(import(header("ascii", kFaceList)), KelpPly::PlyImportNoVertices);
    EXPECT_EQ(import(header("ascii", kVertexXyz) + kFourVerticesText), KelpPly::PlyImportNoFaces);
    EXPECT_EQ(import("ply\nformat ascii 1.0\nelement vertex\n"), 5);

    // A quad stops the load; the vertices and the triangle before it stay.
    const std::string decl = kVertexXyz + "element face 3\nproperty list uchar int vertex_indices\n";
    EXPECT_EQ(import(header("ascii", decl) + kFourVerticesText + "3 0 1 2\n4 0 1 2 3\n3 1 2 3\n"),
              KelpPly::PlyImportNotTriangle);
    EXPECT_EQ(mesh.vertexCount, 4u);
    EXPECT_EQ(mesh.faces, (Faces{{0, 1, 2}}));
    // 515 corners would wrap the one-byte size to 3: refused without overrunning.
    std::string big = "515";
    for (int i = 0; i < 515; ++i) big += " 1";
    EXPECT_EQ(import(header("ascii", decl) + kFourVerticesText + big + "\n"), KelpPly::PlyImportBadInstance);
}

TEST_F(PlyImport, StripsDecodeWithRestarts) {
    const std::string decl = "element vertex 0\nproperty float x\nproperty float y\nproperty float z\n"
                             "element tristrips 2\nproperty list int int vertex_indices\n";
    EXPECT_EQ(import(header("ascii", decl) + "5 0 1 2 3 4\n8 0 1 2 -1 3 4 5 6\n"), 0);
    EXPECT_EQ(mesh.faces, (Faces{{0, 1, 2}, {2, 1, 3}, {2, 3, 4}, {0, 1, 2}, {3, 4, 5}, {5, 4, 6}}));

    // Degenerate triangles stay; after a restart at an odd position the orientation flips.
    const Bytes body = Bytes().i32(3).i32(7).i32(7).i32(8).i32(6).i32(0).i32(1).i32(-1).i32(2).i32(3).i32(4);
    EXPECT_EQ(import(header("binary_little_endian", decl) + body.data), 0);
    EXPECT_EQ(mesh.faces, (Faces{{7, 7, 8}, {2, 3, 4}}));

    EXPECT_EQ(import(header("binary_little_endian", decl) + Bytes().i32(0).i32(-5).data), 0);
    EXPECT_EQ(import(header("binary_little_endian", decl) + Bytes().i32(0x40000000).i32(1).data),
              KelpPly::PlyImportBadInstance);
    EXPECT_EQ(import(header("binary_big_endian", decl) + Bytes().i32(0).data), KelpPly::PlyImportBadInstance);

    // Beside faces, strips are not requested and add nothing.
    EXPECT_EQ(import(header("ascii", kVertexXyz + kFaceList + "element tristrips 1\n"
                                                              "property list int int vertex_indices\n") +
                     kFourVerticesText + "3 0 1 2\n4 3 2 1 0\n"),
              0);
    EXPECT_EQ(mesh.faces, (Faces{{0, 1, 2}}));
}

TEST_F(PlyImport, OptionalPropertiesAreReadAndDropped) {
    const std::string decl =
        "element vertex 2\nproperty float x\nproperty float y\nproperty float z\nproperty float nx\n"
        "property float ny\nproperty float nz\nproperty uchar red\nproperty uchar green\nproperty uchar blue\n"
        "property int flags\nproperty float quality\nproperty uchar diffuse_red\nproperty uchar diffuse_green\n"
        "property uchar diffuse_blue\nelement material 1\nproperty list uchar float data\n"
        "element face 1\nproperty int flags\nproperty list uchar int vertex_indices\nproperty uchar red\n"
        "property uchar green\nproperty uchar blue\nproperty list uchar float color\nproperty float quality\n";
    const std::string vertexLine = "1 2 3 0 0 1 255 128 0 7 0.5 1 2 3\n";
    const std::string path = dir.file("o.ply");
    KelpTest::writeFile(path, header("ascii", decl) + vertexLine + vertexLine + "2 1.5 2.5\n" +
                                  "9 3 1 0 1 10 20 30 2 0.1 0.2 0.7\n");
    const KelpPly::PlyImportResult r = KelpPly::importPly(path.c_str(), &mesh);
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.attributeMask, 0x2u | 0x4u | 0x10u | 0x80u | 0x100u | 0x800u);
    EXPECT_EQ(mesh.vertices, (std::vector<Vec3f>{{1, 2, 3}, {1, 2, 3}}));
    EXPECT_EQ(mesh.faces, (Faces{{1, 0, 1}}));
    EXPECT_TRUE(mesh.vertexNormals.empty());
}

TEST_F(PlyImport, TruncatedAbsurdAndMutatedInputsFailWithoutHarm) {
    const std::string huge = "element vertex 2147483647\nproperty float x\nproperty float y\nproperty float z\n"
                             "element face 2147483647\nproperty list uchar int vertex_indices\n";
    for (const char* format : {"ascii", "binary_little_endian", "binary_big_endian"}) {
        SCOPED_TRACE(format);
        const bool ascii = std::string(format) == "ascii";
        EXPECT_EQ(import(header(format, huge) + (ascii ? "1 2 3\n4 5 6\n7 8" : fourVertices().data)),
                  KelpPly::PlyImportBadInstance);
        EXPECT_EQ(mesh.vertexCount, ascii ? 2u : 4u);
        EXPECT_LT(mesh.vertices.capacity(), 1000u);  // nothing sized from the declared count
    }
    // Elements without properties hold nothing, whatever their count.
    EXPECT_EQ(import(header("binary_little_endian", "element junk 2147483647\n" + kVertexXyz + kFaceList +
                                                        "element vertex 2147483647\nelement face 2147483647\n") +
                     fourVertices().u8(3).i32(0).i32(1).i32(2).data),
              0);
    EXPECT_EQ(mesh.faceCount, 1u);

    const std::string decl = kVertexXyz + "property uchar red\nelement face 2\nproperty int flags\n"
                                          "property list uchar int vertex_indices\nproperty list uchar float color\n"
                                          "element tristrips 1\nproperty list int int vertex_indices\n"
                                          "element extra 2\nproperty list ushort double d\nproperty short s\n";
    Bytes body;
    for (int i = 0; i < 4; ++i) body.f32(1.0f + i).f32(2).f32(3).u8(9);
    for (int i = 0; i < 2; ++i) body.i32(1).u8(3).i32(0).i32(1).i32(2).u8(2).f32(0.5f).f32(0.25f);
    body.i32(5).i32(0).i32(1).i32(-1).i32(2).i32(3);
    for (int i = 0; i < 2; ++i) body.u8(1).le(0, 8).le(7, 2);
    std::mt19937 random(99);
    for (const char* format : {"ascii", "binary_little_endian", "binary_big_endian"}) {
        for (int round = 0; round < 150; ++round) {
            std::string bytes = body.data;
            for (int flips = 1 + static_cast<int>(random() % 4); flips > 0; --flips)
                bytes[random() % bytes.size()] = static_cast<char>(random());
            if (round % 5 == 0) bytes.resize(random() % bytes.size());
            import(header(format, decl) + bytes);  // the checks are import's own
        }
    }
}

TEST_F(PlyImport, DoesNotSwitchTheLocale) {
    KELP_REQUIRE_READER_LOCALE();
    KelpTest::LocaleGuard guard;
    std::setlocale(LC_ALL, KelpTest::kReaderLocale);
    const std::string before = KelpTest::currentLocale();
    EXPECT_EQ(import(header("ascii", kVertexXyz + kFaceList) + kFourVerticesText + "3 0 1 2\n"), 0);
    EXPECT_EQ(KelpTest::currentLocale(), before);
}

}  // namespace
