#include <KelpFileIO.h>

#include "ply/PlyImport.h"
#include "scan/ScanSource.h"

#include "PlyTestFiles.h"
#include "support/Bits.h"
#include "support/FileTest.h"
#include "support/MeshChecks.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
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
std::string faceList(int count) {
    return "element face " + std::to_string(count) + "\nproperty list uchar int vertex_indices\n";
}
const std::vector<Vec3f> kFourVertices = {{1, 2, 3}, {2, 3, 4}, {3, 4, 5}, {4, 5, 6}};
const std::string kFourVerticesText = "1 2 3\n2 3 4\n3 4 5\n4 5 6\n";
const Bytes kFourVerticesLe = Bytes().f32(1).f32(2).f32(3).f32(2).f32(3).f32(4).f32(3).f32(4).f32(5).f32(4).f32(5).f32(6);

class PlyImport : public KelpTest::FileTest {
protected:
    int import(const std::string& bytes) {
        mesh = KelpTriMesh();
        const int code = KelpPly::readPlyFile(write(bytes), &mesh);
        KelpTest::expectInvariants(mesh);
        return code;
    }

    KelpTriMesh mesh;
};

TEST_F(PlyImport, AsciiFilesLoadAndAppend) {
    // Lists may run over several lines.
    EXPECT_EQ(import(header("ascii", kVertexXyz + faceList(2)) + kFourVerticesText + "3 0\n1 2\n3 2 1\n 3\n"), 0);
    EXPECT_EQ(mesh.vertices, kFourVertices);
    EXPECT_EQ(mesh.faces, (Faces{{0, 1, 2}, {2, 1, 3}}));

    // The exported entry appends; new faces keep their own numbers.
    ASSERT_TRUE(KelpGraphic::KelpReadPly(path.c_str(), &mesh));
    EXPECT_EQ(mesh.vertexCount, 8u);
    EXPECT_EQ(mesh.faces, (Faces{{0, 1, 2}, {2, 1, 3}, {0, 1, 2}, {2, 1, 3}}));
    EXPECT_FALSE(KelpGraphic::KelpReadPly(nullptr, &mesh));
}

// Big endian files are read in the machine's order, and a requested int or
// float of zero fails the instance: what came before it stays. Little endian
// files load whatever the values; the optional properties change nothing.
TEST_F(PlyImport, BigEndianZeroRuleCoversEveryRequestedIntAndFloat) {
    const std::string decl =
        "element vertex 2\nproperty float x\nproperty float y\nproperty float z\nproperty float nx\n"
        "property float ny\nproperty float nz\nproperty float quality\nproperty int flags\nproperty uchar red\n"
        "element face 2\nproperty int flags\nproperty list uchar int vertex_indices\nproperty uchar red\n"
        "property int texnumber\n";
    // The scalar fields above in order (vertex 0-8, face 9-11): does a zero fail the load?
    const bool zeroFails[] = {true, true, true, true, true, true, false, true, false, true, false, false};
    for (int zero = -1; zero < 12; ++zero) {
        SCOPED_TRACE(zero);
        // Field `zero` of the second vertex or face is 0.
        const auto value = [zero](int field, int instance, float v) { return instance == 1 && field == zero ? 0 : v; };
        Bytes body;
        for (int v = 0; v < 2; ++v) {
            for (int field = 0; field < 7; ++field) body.f32(value(field, v, 1.0f + field));
            body.i32(int(value(7, v, 5))).u8(unsigned(value(8, v, 1)));
        }
        for (int f = 0; f < 2; ++f) {
            body.i32(int(value(9, f, 4))).u8(3).i32(0).i32(1).i32(0);
            body.u8(unsigned(value(10, f, 7))).i32(int(value(11, f, 8)));
        }
        const bool vertexFails = zero >= 0 && zero < 9 && zeroFails[zero];
        const bool faceFails = zero >= 9 && zeroFails[zero];
        EXPECT_EQ(import(header("binary_big_endian", decl) + body.data), vertexFails || faceFails ? 16 : 0);
        EXPECT_EQ(mesh.vertexCount, vertexFails ? 1u : 2u);
        EXPECT_EQ(mesh.faceCount, vertexFails ? 0u : faceFails ? 1u : 2u);
        EXPECT_EQ(mesh.vertices[0], (Vec3f{1, 2, 3}));
        if (!vertexFails) { EXPECT_EQ(mesh.faces[0], (Vec3u{0, 1, 0})); }
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
        {"list uchar uint vertex_indices", Bytes().u8(3).i32(0).i32(0x01000000).i32(0x02000000), true},  // reversed
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
        EXPECT_EQ(import(header("binary_little_endian", decl) + kFourVerticesLe.data + corners.data),
                  accepted ? 0 : KelpPly::PlyImportNoFaces);
        EXPECT_EQ(mesh.vertices, (accepted ? kFourVertices : std::vector<Vec3f>{}));
        EXPECT_EQ(mesh.faces, (accepted ? Faces{{0, 1, 2}} : Faces{}));
    }
}

TEST_F(PlyImport, RefusedFilesAndNonTriangles) {
    const std::string doubles = "element vertex 1\nproperty double x\nproperty double y\nproperty double z\n";
    EXPECT_EQ(import(header("ascii", doubles + faceList(1)) + "1 2 3\n0\n"), KelpPly::PlyImportNoVertices);
    EXPECT_EQ(import(header("ascii", faceList(1))), KelpPly::PlyImportNoVertices);
    EXPECT_EQ(import(header("ascii", kVertexXyz) + kFourVerticesText), KelpPly::PlyImportNoFaces);
    EXPECT_EQ(import("ply\nformat ascii 1.0\nelement vertex\n"), 5);

    // A quad stops the load; the vertices and the triangle before it stay.
    const std::string decl = kVertexXyz + faceList(3);
    EXPECT_EQ(import(header("ascii", decl) + kFourVerticesText + "3 0 1 2\n4 0 1 2 3\n3 1 2 3\n"),
              KelpPly::PlyImportNotTriangle);
    EXPECT_EQ(mesh.vertexCount, 4u);
    EXPECT_EQ(mesh.faces, (Faces{{0, 1, 2}}));
}

// Big endian int and float list items are not checked: items past the end of
// the file read as 0 (an allocated strip's buffer is zero-filled), a last item
// cut short keeps the bytes that came, and the read succeeds.
TEST_F(PlyImport, BigEndianIntAndFloatListsRunPastTheEndAsZeros) {
    const std::string oneVertex = "element vertex 1\nproperty float x\nproperty float y\nproperty float z\n";
    const std::string strips = oneVertex + "element tristrips 1\nproperty list int int vertex_indices\n";
    const std::string vertex = Bytes().f32(1).f32(2).f32(3).data;
    const std::string start = vertex + Bytes().i32(5).i32(0).i32(1).i32(2).data;
    EXPECT_EQ(import(header("binary_big_endian", strips) + start), 0);
    EXPECT_EQ(mesh.vertices, (std::vector<Vec3f>{{1, 2, 3}}));
    EXPECT_EQ(mesh.faces, (Faces{{0, 1, 2}, {2, 1, 0}, {2, 0, 0}}));
    EXPECT_EQ(import(header("binary_big_endian", strips) + start + Bytes().u8(7).u8(0).data), 0);
    EXPECT_EQ(mesh.faces, (Faces{{0, 1, 2}, {2, 1, 7}, {2, 7, 0}}));
    // Little endian items are checked: the same strip fails.
    EXPECT_EQ(import(header("binary_little_endian", strips) + start), KelpPly::PlyImportBadInstance);
    EXPECT_EQ(mesh.faceCount, 0u);

    // A count far beyond the file: one triangle per announced corner after the second.
    EXPECT_EQ(import(header("binary_big_endian", strips) + vertex + Bytes().i32(1 << 20).i32(0).i32(1).i32(2).data),
              0);
    ASSERT_EQ(mesh.faceCount, (1u << 20) - 2);
    EXPECT_EQ(mesh.faces[1], (Vec3u{2, 1, 0}));
    EXPECT_EQ(mesh.faces.back(), (Vec3u{0, 0, 0}));

    // Face corners and a float colour list written into the load record.
    const std::string faces = kVertexXyz + "element face 1\nproperty list uchar int vertex_indices\n";
    EXPECT_EQ(import(header("binary_big_endian", faces) + kFourVerticesLe.data + Bytes().u8(3).i32(3).data), 0);
    EXPECT_EQ(mesh.faces, (Faces{{3, 0, 0}}));
    const std::string coloured = faces + "property list uchar float color\n";
    const std::string face = Bytes().u8(3).i32(3).i32(2).i32(1).data;
    EXPECT_EQ(import(header("binary_big_endian", coloured) + kFourVerticesLe.data + face + Bytes().u8(4).f32(1).data),
              0);
    EXPECT_EQ(mesh.faces, (Faces{{3, 2, 1}}));
    EXPECT_EQ(import(header("binary_little_endian", coloured) + kFourVerticesLe.data + face + Bytes().u8(4).f32(1).data),
              KelpPly::PlyImportBadInstance);
}

// A list longer than the room in the load record (512 corners, 32 colour
// values) keeps the items that fit and reads the rest to drop them. The size
// kept is the count cut to one byte.
TEST_F(PlyImport, ListsLongerThanTheLoadRecordKeepWhatFits) {
    const auto asciiList = [](int count, const std::string& first, const std::string& filler) {
        std::string list = std::to_string(count) + " " + first;
        for (int i = 3; i < count; ++i) list += " " + filler;
        return list + "\n";
    };
    const std::string decl = kVertexXyz + faceList(2);
    const std::string body = header("ascii", decl) + kFourVerticesText;
    // 515 corners: size 3, the face of the first three; the next face is in step.
    EXPECT_EQ(import(body + asciiList(515, "3 2 1", "1") + "3 0 1 2\n"), 0);
    EXPECT_EQ(mesh.faces, (Faces{{3, 2, 1}, {0, 1, 2}}));
    // 600 corners: size 88.
    EXPECT_EQ(import(body + asciiList(600, "3 2 1", "1") + "3 0 1 2\n"), KelpPly::PlyImportNotTriangle);
    // Dropped items are still numbers of their type.
    EXPECT_EQ(import(body + asciiList(515, "3 2 1", "1").replace(1000, 1, "x") + "3 0 1 2\n"),
              KelpPly::PlyImportBadInstance);
    EXPECT_EQ(import(body + asciiList(515, "3 2 1", "1") + "3 0 1"), KelpPly::PlyImportBadInstance);
    EXPECT_EQ(mesh.faces, (Faces{{3, 2, 1}}));

    // A colour list of 40 values, in both encodings.
    const std::string coloured = kVertexXyz + faceList(2) + "property list uchar float color\nproperty uchar red\n";
    std::string text = kFourVerticesText;
    Bytes binary = kFourVerticesLe;
    for (int f = 0; f < 2; ++f) {
        text += "3 " + std::to_string(f) + " 1 2 40";
        binary.u8(3).i32(f).i32(1).i32(2).u8(40);
        for (int i = 0; i < 40; ++i) text += " 0.5", binary.f32(0.5f);
        text += " 9\n";
        binary.u8(9);
    }
    EXPECT_EQ(import(header("ascii", coloured) + text), 0);
    EXPECT_EQ(mesh.faces, (Faces{{0, 1, 2}, {1, 1, 2}}));
    EXPECT_EQ(import(header("binary_little_endian", coloured) + binary.data), 0);
    EXPECT_EQ(mesh.faces, (Faces{{0, 1, 2}, {1, 1, 2}}));
    binary.data.resize(binary.data.size() - 2);  // the last list cut short
    EXPECT_EQ(import(header("binary_little_endian", coloured) + binary.data), KelpPly::PlyImportBadInstance);
}

// ASCII instances of the usual layouts are decoded in one forward pass; an
// instance with a spelling the pass declines ("+7") is read value by value
// from its start. Both must give the same mesh, whatever the layout around
// the positions and the corner list, the white space, and where the window's
// refills fall.
TEST_F(PlyImport, AsciiInstancesDecodeAlikeInOnePassAndValueByValue) {
    std::mt19937 random(1124);
    const std::size_t chunks[] = {0, 7, 61};
    for (int round = 0; round < 60; ++round) {
        const bool extraVertex = random() % 2, extraFace = random() % 2;
        const int vertices = 5 + static_cast<int>(random() % 20), faces = 1 + static_cast<int>(random() % 20);
        std::string decl = "element vertex " + std::to_string(vertices) + "\n";
        decl += extraVertex ? "property uchar red\nproperty float x\nproperty float y\nproperty double q\nproperty float z\n"
                            : "property float x\nproperty float y\nproperty float z\n";
        decl += "element face " + std::to_string(faces) + "\n";
        decl += extraFace ? "property int flags\nproperty list uchar int vertex_indices\nproperty float w\n"
                          : "property list uchar int vertex_indices\n";
        // The same values twice: plainly, and with some of them signed "+".
        std::string plain, signedText;
        auto value = [&](const std::string& text) {
            const char* separators[] = {" ", "\t", "\n", "  "};
            const std::string gap = separators[random() % 4];
            plain += text + gap;
            signedText += (text[0] != '-' && random() % 8 == 0 ? "+" : "") + text + gap;
        };
        auto number = [&] {
            char text[32];
            std::snprintf(text, sizeof text, random() % 2 ? "%.6f" : "%g",
                          (static_cast<int>(random() % 200001) - 100000) / 997.0);
            return std::string(text);
        };
        for (int v = 0; v < vertices; ++v) {
            if (extraVertex) value(std::to_string(random() % 256));
            value(number());
            value(number());
            if (extraVertex) value(number());
            value(number());
        }
        for (int f = 0; f < faces; ++f) {
            if (extraFace) value(std::to_string(static_cast<int>(random() % 100) - 50));
            value("3");
            for (int c = 0; c < 3; ++c) value(std::to_string(random() % static_cast<unsigned>(vertices)));
            if (extraFace) value(number());
        }
        const std::size_t chunk = chunks[static_cast<std::size_t>(round) % std::size(chunks)];
        SCOPED_TRACE(::testing::Message() << "round " << round << " chunk " << chunk);
        KelpScan::ScanSource::setChunkForTesting(chunk);
        const int plainCode = import(header("ascii", decl) + plain);
        const KelpTriMesh planned = mesh;
        const int signedCode = import(header("ascii", decl) + signedText);
        KelpScan::ScanSource::setChunkForTesting(0);
        EXPECT_EQ(plainCode, 0);
        EXPECT_EQ(signedCode, 0);
        EXPECT_TRUE(KelpTest::sameBits(mesh.vertices, planned.vertices));
        EXPECT_EQ(mesh.faces, planned.faces);
    }
}

// An element without properties reads nothing per instance: a vertex element
// appends the load record's position once per instance, a face element its
// face (when it has three corners); other elements change nothing.
TEST_F(PlyImport, ElementsWithoutPropertiesRepeatTheLoadRecord) {
    const std::string vertices3 = "element vertex 3\nproperty float x\nproperty float y\nproperty float z\n";
    const std::string decl = vertices3 + faceList(1) + "element vertex 2\nelement face 2\nelement junk 2147483647\n";
    const std::string text = "1 2 3\n2 3 4\n3 4 5\n3 0 1 2\n";
    Bytes binary;
    for (int v = 1; v <= 3; ++v) binary.f32(float(v)).f32(float(v + 1)).f32(float(v + 2));
    binary.u8(3).i32(0).i32(1).i32(2);
    for (const char* format : {"ascii", "binary_little_endian", "binary_big_endian"}) {
        SCOPED_TRACE(format);
        EXPECT_EQ(import(header(format, decl) + (format == std::string("ascii") ? text : binary.data)), 0);
        EXPECT_EQ(mesh.vertices, (std::vector<Vec3f>{{1, 2, 3}, {2, 3, 4}, {3, 4, 5}, {3, 4, 5}, {3, 4, 5}}));
        EXPECT_EQ(mesh.faces, (Faces{{0, 1, 2}, {0, 1, 2}, {0, 1, 2}}));
    }

    // Before any face was read the record has no corners: a face element fails.
    const std::string noFaceYet = vertices3 + "element face 1\nelement tristrips 1\n"
                                              "property list int int vertex_indices\n";
    EXPECT_EQ(import(header("ascii", noFaceYet) + "1 2 3\n2 3 4\n3 4 5\n3 0 1 2\n"), KelpPly::PlyImportNotTriangle);
    EXPECT_EQ(mesh.vertexCount, 3u);

    // Large counts cost the output they describe.
    EXPECT_EQ(import(header("ascii", vertices3 + faceList(1) + "element vertex 1000000\n") + text), 0);
    ASSERT_EQ(mesh.vertexCount, 1000003u);
    EXPECT_EQ(mesh.vertices.back(), (Vec3f{3, 4, 5}));
}

// Counts the mesh's 32-bit fields cannot hold fail like an allocation: false,
// nothing half-appended.
TEST_F(PlyImport, OutputBeyondTheMeshCountsFails) {
    write(header("ascii", kVertexXyz + faceList(1) + "element vertex 2147483647\n") + kFourVerticesText + "3 0 1 2\n");
    mesh.vertexCount = 0xFFFFFFFFu - 2147483646u - 4u;  // room for the file's own vertices and no more
    EXPECT_EQ(KelpPly::readPlyFile(path.c_str(), &mesh), KelpPly::PlyImportBadInstance);
    EXPECT_EQ(mesh.vertices.size(), 4u);
    EXPECT_EQ(mesh.vertexFlags.size(), 4u);
    EXPECT_EQ(mesh.faces.size(), 1u);
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

    // Beside faces, strips are not requested and add nothing.
    const std::string strips = "element tristrips 1\nproperty list int int vertex_indices\n";
    EXPECT_EQ(import(header("ascii", kVertexXyz + faceList(1) + strips) + kFourVerticesText + "3 0 1 2\n4 3 2 1 0\n"),
              0);
    EXPECT_EQ(mesh.faces, (Faces{{0, 1, 2}}));
}

TEST_F(PlyImport, TruncatedAbsurdAndMutatedInputsFailWithoutHarm) {
    // An element without properties and not named vertex or face costs nothing, whatever its count.
    const std::string huge = "element junk 2147483647\nelement vertex 2147483647\nproperty float x\n"
                             "property float y\nproperty float z\n" + faceList(1);
    for (const char* format : {"ascii", "binary_little_endian", "binary_big_endian"}) {
        SCOPED_TRACE(format);
        const bool ascii = std::string(format) == "ascii";
        EXPECT_EQ(import(header(format, huge) + (ascii ? "1 2 3\n4 5 6\n7 8" : kFourVerticesLe.data)),
                  KelpPly::PlyImportBadInstance);
        EXPECT_EQ(mesh.vertexCount, ascii ? 2u : 4u);
        EXPECT_LT(mesh.vertices.capacity(), 1000u);  // nothing sized from the declared count
    }

    const std::string decl = kVertexXyz + "element face 2\nproperty int flags\nproperty list uchar int vertex_indices\n"
                                          "property list uchar float color\nelement tristrips 1\n"
                                          "property list int int vertex_indices\nelement extra 2\n"
                                          "property list ushort double d\nproperty short s\n";
    Bytes body = kFourVerticesLe;
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

}  // namespace
