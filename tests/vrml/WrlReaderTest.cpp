#include <KelpFileIO.h>

#include "vrml/VrmlReader.h"

#include "support/LocaleGuard.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using KelpCore::KelpTriMesh;
using KelpCore::Vec3f;
using KelpCore::Vec3u;

namespace {

constexpr const char* kHeader = "#VRML V1.0 ascii\n";
constexpr const char* kTriangle =
    "Separator { Coordinate3 { point [0 0 0, 1 0 0, 0 1 0] } IndexedFaceSet { coordIndex [0, 1, 2, -1, ] } }";

class WrlRead : public ::testing::Test {
protected:
    KelpTriMesh read(const std::string& text) {
        KelpTriMesh mesh;
        readInto(text, mesh);
        return mesh;
    }
    void readInto(const std::string& text, KelpTriMesh& mesh) {
        const std::string path = dir.file("scene.wrl");
        KelpTest::writeFile(path, text);
        EXPECT_TRUE(KelpGraphic::KelpReadWrl(path.c_str(), &mesh));
        EXPECT_EQ(mesh.vertexCount, mesh.vertices.size());
        EXPECT_EQ(mesh.faceCount, mesh.faces.size());
        EXPECT_EQ(mesh.faceFlags.size(), mesh.faces.size());
    }

    KelpTest::LocaleGuard locale;
    KelpTest::TempDir dir;
};

TEST_F(WrlRead, CoordinatesAndTriangles) {
    const KelpTriMesh mesh = read(std::string(kHeader) + kTriangle);
    EXPECT_EQ(mesh.vertices, (std::vector<Vec3f>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}));
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 1, 2}}));
    EXPECT_STREQ(KelpVrml::lastVrmlError(), "no vrml error");
}

TEST_F(WrlRead, LastTriangleNeedsItsTrailingComma) {
    const KelpTriMesh mesh = read(std::string(kHeader) +
                                  "Separator { Coordinate3 { point [0 0 0, 1 0 0, 0 1 0] } "
                                  "IndexedFaceSet { coordIndex [0, 1, 2, -1] } }");
    EXPECT_EQ(mesh.vertexCount, 3u);
    EXPECT_EQ(mesh.faceCount, 0u);

    const KelpTriMesh two = read(std::string(kHeader) +
                                 "IndexedFaceSet { coordIndex [0, 1, 2, -1, 2, 1, 3, -1] }");
    EXPECT_EQ(two.faces, (std::vector<Vec3u>{{0, 1, 2}}));
}

TEST_F(WrlRead, UndroppedMinusOnesReachTheMeshUnsigned) {
    const KelpTriMesh mesh = read(std::string(kHeader) + "IndexedFaceSet { coordIndex [0, 1, -1, 2, 3, 4, -1, 5, ] }");
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 1, 4294967295u}, {3, 4, 4294967295u}}));
}

TEST_F(WrlRead, OnlyTheHeaderVersionOneIsRead) {
    const std::string body = kTriangle;
    EXPECT_EQ(read("#VRML V2.0 utf8\n" + body).vertexCount, 0u);
    EXPECT_EQ(read("#VRML V1.0001\n" + body).vertexCount, 0u);
    EXPECT_EQ(read(" #VRML V1.0\n" + body).vertexCount, 0u);
    EXPECT_EQ(read(body).vertexCount, 0u);
    // "#VRML V%f": white space is optional before the V and allowed after it.
    EXPECT_EQ(read("#VRMLV1\n" + body).vertexCount, 3u);
    EXPECT_EQ(read("#VRML V 1.00 ascii\n" + body).vertexCount, 3u);
}

TEST_F(WrlRead, MissingFileIsTrueAndTouchesNothing) {
    KelpTriMesh mesh;
    mesh.addVertex({7, 7, 7});
    EXPECT_TRUE(KelpGraphic::KelpReadWrl(dir.file("none.wrl").c_str(), &mesh));
    EXPECT_EQ(mesh.vertices, (std::vector<Vec3f>{{7, 7, 7}}));
}

TEST_F(WrlRead, AppendsWithoutOffsettingIndices) {
    KelpTriMesh mesh;
    mesh.vertexAttributes = 1;
    mesh.addVertex({9, 9, 9});
    mesh.addFace(0, 0, 0);
    readInto(std::string(kHeader) + kTriangle, mesh);
    EXPECT_EQ(mesh.vertexCount, 4u);
    EXPECT_EQ(mesh.vertexNormals.size(), 4u);
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 0, 0}, {0, 1, 2}}));

    // Several Coordinate3 nodes share one index space.
    const KelpTriMesh two = read(std::string(kHeader) +
                                 "Separator { Coordinate3 { point 1 1 1 } Coordinate3 { point [2 2 2, 3 3 3] } "
                                 "IndexedFaceSet { coordIndex [0, 1, 2, -1, 7, 8, 9, -1, ] } }");
    EXPECT_EQ(two.vertices, (std::vector<Vec3f>{{1, 1, 1}, {2, 2, 2}, {3, 3, 3}}));
    EXPECT_EQ(two.faces, (std::vector<Vec3u>{{0, 1, 2}, {7, 8, 9}}));
}

TEST_F(WrlRead, TransformsDoNotMovePointsAndOnlyTheFirstNodeCounts) {
    const KelpTriMesh mesh = read(std::string(kHeader) +
                                  "Separator { Transform { translation 5 5 5 scaleFactor 2 2 2 } "
                                  "Coordinate3 { point [1 2 3] } }\nSeparator { Coordinate3 { point [4 5 6] } }");
    EXPECT_EQ(mesh.vertices, (std::vector<Vec3f>{{1, 2, 3}}));
}

TEST_F(WrlRead, UseAppendsTheReferencedGeometryAgain) {
    const KelpTriMesh mesh = read(std::string(kHeader) +
                                  "Separator { DEF P Separator { Coordinate3 { point [1 2 3] } "
                                  "IndexedFaceSet { coordIndex [0, 0, 0, -1, ] } } USE P USE P }");
    EXPECT_EQ(mesh.vertices, (std::vector<Vec3f>(3, Vec3f{1, 2, 3})));
    EXPECT_EQ(mesh.faceCount, 3u);
}

TEST_F(WrlRead, FailedParsesAddNothingAndLeaveTheirText) {
    for (const char* body :
         {"Separator { Coordinate3 { point [0 0 0] } Cube { width } }", "Separator { Coordinate3 { point [0 0 0] } ",
          "Separator { Coordinate3 { point [0 0 0] } USE Nothing }", "DEF A DEF B Coordinate3 { point 1 1 1 }"}) {
        KelpTriMesh mesh;
        mesh.addVertex({5, 5, 5});
        readInto(std::string(kHeader) + body, mesh);
        EXPECT_EQ(mesh.vertexCount, 1u) << body;
        EXPECT_EQ(mesh.faceCount, 0u) << body;
        EXPECT_NE(std::string(KelpVrml::lastVrmlError()), "no vrml error") << body;
    }
    read(std::string(kHeader) + "Separator { DEF A DEF B Cube { } }");
    const std::string path = dir.file("scene.wrl");
    EXPECT_EQ(std::string(KelpVrml::lastVrmlError()), "file \"" + path + "\" line 2: invalid node syntax");
    read(std::string(kHeader) + "USE X");
    EXPECT_EQ(std::string(KelpVrml::lastVrmlError()), "file \"" + path + "\" line 2: \"use\" referenced node not found");
}

TEST_F(WrlRead, EveryTruncationReturns) {
    const std::string full = std::string(kHeader) +
                             "DEF S Separator { renderCulling ON DEF M Material { diffuseColor 1 0 0 }\n"
                             "  Coordinate3 { point [0 0 0, 1 0 0, 0 1 0, 1 1 0] }\n"
                             "  IndexedFaceSet { coordIndex [0, 1, 2, -1, 2, 1, 3, -1, ] }\n"
                             "  Switch { whichChild 0 USE M } AsciiText { string \"x\\\"y\" }\n}\n";
    const KelpTriMesh whole = read(full);
    EXPECT_EQ(whole.vertexCount, 4u);
    EXPECT_EQ(whole.faceCount, 2u);
    // Until the closing brace of the top node is in, the parse fails whole.
    const std::size_t closed = full.rfind('}') + 1;
    for (std::size_t length = 0; length < full.size(); ++length) {
        const KelpTriMesh cut = read(full.substr(0, length));
        EXPECT_EQ(cut.vertexCount, length < closed ? 0u : 4u) << length;
    }
}

TEST_F(WrlRead, GarbageReturns) {
    std::mt19937 random(1234);
    const std::string alphabet = "{}[](),|-.0123456789x#\"\\ \n\tSeparatorDEFUSECoordinate3point";
    for (int round = 0; round < 300; ++round) {
        std::string text = kHeader;
        const int length = static_cast<int>(random() % 300);
        for (int i = 0; i < length; ++i)
            text += random() % 8 == 0 ? static_cast<char>(random() % 256) : alphabet[random() % alphabet.size()];
        read(text);
    }
}

TEST_F(WrlRead, UseExpansionIsBudgeted) {
    std::string text = std::string(kHeader) + "Separator { DEF A Coordinate3 { point [1 1 1] }\n";
    for (int i = 0; i < 60; ++i) text += "DEF A Separator { USE A USE A }\n";
    text += "}";
    const KelpTriMesh mesh = read(text);
    EXPECT_GT(mesh.vertexCount, 0u);
    EXPECT_LE(mesh.vertexCount, KelpVrml::expansionBudget(200));
}

TEST_F(WrlRead, SwitchesTheLocaleAndPutsCBack) {
    KELP_REQUIRE_READER_LOCALE();
    std::setlocale(LC_ALL, KelpTest::kReaderLocale);
    const KelpTriMesh mesh = read(std::string(kHeader) + "Coordinate3 { point [0.5 1.25 2] }");
    EXPECT_EQ(mesh.vertices, (std::vector<Vec3f>{{0.5f, 1.25f, 2}}));
    EXPECT_EQ(KelpTest::currentLocale(), "C");
    std::setlocale(LC_ALL, KelpTest::kReaderLocale);
    read("#VRML V2.0\n");
    EXPECT_EQ(KelpTest::currentLocale(), "C");
}

}  // namespace
