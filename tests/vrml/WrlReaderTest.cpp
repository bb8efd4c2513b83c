#include <KelpFileIO.h>

#include "vrml/VrmlReader.h"

#include "support/FileTest.h"
#include "support/MeshChecks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

using KelpCore::KelpTriMesh;
using KelpCore::Vec3f;
using KelpCore::Vec3u;

namespace {

constexpr const char* kHeader = "#VRML V1.0 ascii\n";
constexpr const char* kTriangle =
    "Separator { Coordinate3 { point [0 0 0, 1 0 0, 0 1 0] } IndexedFaceSet { coordIndex [0, 1, 2, -1, ] } }";

class WrlRead : public KelpTest::FileTest {
protected:
    // Reads `text` into `mesh`, which starts empty in each test.
    const KelpTriMesh& read(const std::string& text) {
        EXPECT_TRUE(KelpGraphic::KelpReadWrl(write(text), &mesh));
        KelpTest::expectInvariants(mesh);
        return mesh;
    }
    const KelpTriMesh& readAfresh(const std::string& text) {
        mesh = KelpTriMesh();
        return read(text);
    }

    KelpTriMesh mesh;
};

TEST_F(WrlRead, ScenesToMeshes) {
    const struct {
        std::string body;
        std::vector<Vec3f> vertices;
        std::vector<Vec3u> faces;
    } cases[] = {
        {kTriangle, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}},
        // The last triangle needs its trailing comma.
        {"IndexedFaceSet { coordIndex [0, 1, 2, -1, 2, 1, 3, -1] }", {}, {{0, 1, 2}}},
        // The stride keeps a -1 where faces are not triangles; it turns unsigned.
        {"IndexedFaceSet { coordIndex [0, 1, -1, 2, 3, 4, -1, 5, ] }", {}, {{0, 1, ~0u}, {3, 4, ~0u}}},
        // Coordinate3 nodes share one index space; transforms do not move the
        // points, and only the first top-level node is read.
        {"Separator { Transform { translation 5 5 5 } Coordinate3 { point 1 1 1 } Coordinate3 { point [2 2 2] } "
         "IndexedFaceSet { coordIndex [0, 1, 7, -1, ] } }\nSeparator { Coordinate3 { point [4 5 6] } }",
         {{1, 1, 1}, {2, 2, 2}},
         {{0, 1, 7}}},
        // USE appends the referenced geometry again.
        {"Separator { DEF P Separator { Coordinate3 { point [1 2 3] } IndexedFaceSet { coordIndex [0, 0, 0, -1, ] } } "
         "USE P USE P }",
         {{1, 2, 3}, {1, 2, 3}, {1, 2, 3}},
         {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}}};
    for (const auto& c : cases) {
        readAfresh(kHeader + c.body);
        EXPECT_EQ(mesh.vertices, c.vertices) << c.body;
        EXPECT_EQ(mesh.faces, c.faces) << c.body;
    }
    EXPECT_STREQ(KelpVrml::lastVrmlError(), "no vrml error");
}

TEST_F(WrlRead, OnlyTheHeaderVersionOneIsRead) {
    // "#VRML V%f": white space is optional before the V and allowed after it.
    const std::pair<const char*, unsigned> cases[] = {{"#VRML V2.0 utf8\n", 0}, {"#VRML V1.0001\n", 0},
                                                      {" #VRML V1.0\n", 0},     {"", 0},
                                                      {"#VRMLV1\n", 3},         {"#VRML V 1.00 ascii\n", 3}};
    for (const auto& [header, vertexCount] : cases)
        EXPECT_EQ(readAfresh(header + std::string(kTriangle)).vertexCount, vertexCount) << header;
}

TEST_F(WrlRead, AppendsWithoutOffsettingIndicesAndFailuresAddNothing) {
    mesh.vertexAttributes = 1;
    mesh.addVertex({9, 9, 9});
    mesh.addFace(0, 0, 0);
    read(kHeader + std::string(kTriangle));
    EXPECT_EQ(mesh.vertexCount, 4u);
    EXPECT_EQ(mesh.vertexNormals.size(), 4u);
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 0, 0}, {0, 1, 2}}));
    // A failed parse adds nothing and leaves its text; the enclosing group
    // replaces the text of the failure inside it.
    read(kHeader + std::string("Separator { Coordinate3 { point [0 0 0] } USE X }"));
    EXPECT_EQ(mesh.vertexCount, 4u);
    EXPECT_EQ(std::string(KelpVrml::lastVrmlError()), "file \"" + path + "\" line 2: invalid node syntax");
}

TEST_F(WrlRead, EveryTruncationReturns) {
    const std::string full = std::string(kHeader) +
                             "DEF S Separator { renderCulling ON DEF M Material { diffuseColor 1 0 0 }\n"
                             "  Coordinate3 { point [0 0 0, 1 0 0, 0 1 0, 1 1 0] }\n"
                             "  IndexedFaceSet { coordIndex [0, 1, 2, -1, 2, 1, 3, -1, ] }\n"
                             "  Switch { whichChild 0 USE M } AsciiText { string [\"x\\\"y\"] }\n}\n";
    EXPECT_EQ(readAfresh(full).faceCount, 2u);
    // Until the closing brace of the top node is in, the parse fails whole.
    const std::size_t closed = full.rfind('}') + 1;
    for (std::size_t length = 0; length < full.size(); ++length)
        EXPECT_EQ(readAfresh(full.substr(0, length)).vertexCount, length < closed ? 0u : 4u) << length;
}

TEST_F(WrlRead, NestingDepthOnlyDecidesWhetherAMissingBraceIsAnError) {
    auto nested = [](int levels, int closed) {
        std::string text = kHeader;
        for (int i = 0; i < levels; ++i) text += "Separator {\n";
        return text + "Coordinate3 { point [1 2 3] }" + std::string(static_cast<std::size_t>(closed), '}');
    };
    for (const int levels : {1, 1000, 1001, 100000}) {
        EXPECT_EQ(readAfresh(nested(levels, levels)).vertices, (std::vector<Vec3f>{{1, 2, 3}})) << levels;
        EXPECT_STREQ(KelpVrml::lastVrmlError(), "no vrml error");
        // The input may not end inside a group, however shallow or deep.
        EXPECT_EQ(readAfresh(nested(levels, levels - 1)).vertexCount, 0u) << levels;
    }
}

TEST_F(WrlRead, EveryUseAppendsItsGeometryAgain) {
    // Two records of points and one of faces, reached through USE chains: the
    // result is the depth-first expansion, in order.
    read(std::string(kHeader) +
         "Separator { DEF A Coordinate3 { point [1 1 1] }\n"
         "DEF B Separator { Coordinate3 { point [2 2 2, 3 3 3] } USE A DEF F IndexedFaceSet { coordIndex [4, 5, 6, -1, ] } }\n"
         "Separator { USE B Cube { } USE A USE F DEF C Separator { USE B USE B } USE C } }");
    const Vec3f a{1, 1, 1}, p{2, 2, 2}, q{3, 3, 3};
    // A, B, USE B, USE A, C (B twice), USE C (B twice).
    EXPECT_EQ(mesh.vertices, (std::vector<Vec3f>{a, p, q, a, p, q, a, a, p, q, a, p, q, a, p, q, a, p, q, a}));
    EXPECT_EQ(mesh.faces, std::vector<Vec3u>(7, Vec3u{4, 5, 6}));

    // 21 levels of doubling over one point: 2^22 - 1 vertices, every one.
    std::string doubling = std::string(kHeader) + "Separator { DEF L0 Coordinate3 { point [1 2 3] }\n";
    for (int i = 1; i <= 21; ++i)
        doubling += "DEF L" + std::to_string(i) + " Separator { USE L" + std::to_string(i - 1) + " USE L" +
                    std::to_string(i - 1) + " }\n";
    readAfresh(doubling + "}");
    EXPECT_EQ(mesh.vertexCount, 4194303u);
    EXPECT_EQ(std::count(mesh.vertices.begin(), mesh.vertices.end(), Vec3f{1, 2, 3}), 4194303);

    // Doubling 80 times over a node without geometry appends nothing, and
    // the walk never enters it.
    std::string empty = std::string(kHeader) + "Separator { DEF E Cube { }\n";
    for (int i = 0; i < 80; ++i) empty += "DEF E Separator { USE E USE E }\n";
    EXPECT_EQ(readAfresh(empty + "}").vertexCount, 0u);
}

using WrlReadDeathTest = WrlRead;

// exit(-1) as the system reports it: POSIX keeps only the low 8 bits.
#if defined(_WIN32)
constexpr int kExitMinusOne = -1;
#else
constexpr int kExitMinusOne = 255;
#endif

TEST_F(WrlReadDeathTest, ExpansionPastTheThirtyTwoBitCountsEndsTheProcess) {
    // 2^33 - 1 points cannot be counted by the mesh: memory runs out, which
    // ends the process with status -1 before anything is appended.
    std::string text = std::string(kHeader) + "Separator { DEF A Coordinate3 { point [1 1 1] }\n";
    for (int i = 0; i < 32; ++i) text += "DEF A Separator { USE A USE A }\n";
    write(text + "}");
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(KelpGraphic::KelpReadWrl(path.c_str(), &mesh), ::testing::ExitedWithCode(kExitMinusOne), "");
}

}  // namespace
