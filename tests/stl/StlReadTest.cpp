#include <KelpFileIO.h>

#include "stl/StlReaders.h"
#include "stl/StlTestFiles.h"
#include "support/LocaleGuard.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <vector>

using KelpCore::KelpTriMesh;
using KelpCore::Vec3f;
using KelpCore::Vec3u;
using StlTest::Triangle;

namespace {

const Triangle kA{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}};
const Triangle kB{{{1, 0, 0}, {1, 1, 0}, {0, 1, 0}}};
const Triangle kC{{{5, 5, 5}, {6, 5, 5}, {5, 6, 5}}};
// Coordinates whose float bytes all stay below 128, so that only the size
// test can make such a file binary.
const Triangle kLowA{{{0, 0, 0}, {2, 0, 0}, {0, 2, 0}}};
const Triangle kLowB{{{2, 0, 0}, {2, 2, 0}, {0, 2, 0}}};
const Triangle kLowC{{{8, 8, 8}, {32, 8, 8}, {8, 32, 8}}};

class StlRead : public ::testing::Test {
protected:
    std::string write(const std::string& bytes, const char* name = "m.stl") {
        const std::string path = dir.file(name);
        KelpTest::writeFile(path, bytes);
        return path;
    }
    bool detect(const std::string& bytes) {
        const std::string path = write(bytes, "detect.stl");
        std::FILE* file = std::fopen(path.c_str(), "rt");
        const bool binary = KelpStl::looksBinary(file);
        std::fclose(file);
        return binary;
    }
    // Runs `call` and returns what it printed on standard output.
    template <typename Call>
    std::string printed(Call call) {
        std::fflush(stdout);
        testing::internal::CaptureStdout();
        call();
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }

    KelpTest::LocaleGuard locale;
    KelpTest::TempDir dir;
};

std::vector<Vec3f> soupOf(const std::vector<Triangle>& triangles) {
    std::vector<Vec3f> soup;
    for (const Triangle& t : triangles) soup.insert(soup.end(), t.begin(), t.end());
    return soup;
}

TEST_F(StlRead, SizeTestWrapsAndByteTestOnlyTurnsToBinary) {
    EXPECT_TRUE(detect(StlTest::binaryStl(2, {kLowA, kLowB})));
    // Wrong count: ASCII while offsets 84..211 stay below 128 ...
    EXPECT_FALSE(detect(StlTest::binaryStl(5, {kLowA, kLowB, kLowC})));
    // ... binary once one of them is above 127 (a negative normal's sign byte).
    EXPECT_TRUE(detect(StlTest::binaryStl(7, {kLowA, kLowB, kLowC}, -2.0f)));
    EXPECT_TRUE(detect(StlTest::binaryStl(7, {kA, kB, kC})));  // 1.0f is 00 00 80 3F
    // Bytes beyond offset 211 are not looked at.
    std::string late = StlTest::binaryStl(9, {kLowA, kLowA, kLowA, kLowC});
    late[212] = static_cast<char>(0xFF);
    EXPECT_FALSE(detect(late));
    // Text in a non-ASCII encoding inside the probe window makes an ASCII file binary.
    std::string text = "solid " + std::string(100, 'x') + "\xE6\x96\x87\n" + StlTest::asciiFacet(kA) + "endsolid\n";
    EXPECT_TRUE(detect(text));
    // A count whose 84 + 50 n wraps modulo 2^32 onto the real size: 0x80000002 * 50 + 84 = 184 + 2^32 * 25.
    std::string wrapped = StlTest::binaryStl(0x80000002u, {kLowA, kLowB});
    EXPECT_EQ(wrapped.size(), 184u);
    EXPECT_TRUE(detect(wrapped));
}

TEST_F(StlRead, ShortFilesAreJudgedOnClearedBuffers) {
    EXPECT_FALSE(detect(""));
    EXPECT_FALSE(detect("solid\n"));
    EXPECT_TRUE(detect(std::string(84, '\0')));  // count 0, size 84
    EXPECT_FALSE(detect(std::string(83, '\0')));
}

TEST_F(StlRead, BinaryCountZeroPrintsBothLinesThenWelds) {
    const std::string path = write(StlTest::binaryStl(0, {}));
    KelpTriMesh mesh;
    mesh.addVertex({1, 2, 3});
    mesh.addFace(0, 0, 0);
    bool result = false;
    EXPECT_EQ(printed([&] { result = KelpGraphic::KelpReadStl(path.c_str(), &mesh); }),
              "OpenBinary::fn=0\nOpenBinary::read end\nRemoveRedundant::End\n");
    EXPECT_TRUE(result);
    EXPECT_EQ(mesh.vertexCount, 0u);
    EXPECT_TRUE(mesh.vertices.empty());
    EXPECT_EQ(mesh.faceCount, 0u);
    EXPECT_TRUE(mesh.faces.empty());
}

TEST_F(StlRead, ShortBinaryFileRepeatsTheLastWholeTriangle) {
    const std::string two = StlTest::binaryStl(3, {kA, kC}, -1.0f);
    KelpTriMesh mesh;
    std::string out = printed([&] { EXPECT_TRUE(KelpStl::readBinaryStl(write(two).c_str(), &mesh)); });
    EXPECT_EQ(out, "OpenBinary::fn=3\nOpenBinary::read end\n");
    EXPECT_EQ(mesh.vertices, soupOf({kA, kC, kC}));
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 1, 2}, {3, 4, 5}, {6, 7, 8}}));
    EXPECT_EQ(mesh.vertexFlags, std::vector<std::uint32_t>(9, 0));
    EXPECT_EQ(mesh.faceFlags, std::vector<std::uint32_t>(3, 0));

    // A record cut after its corners still delivered them; one cut inside
    // them leaves the previous corners.
    const std::string three = StlTest::binaryStl(4, {kA, kC, kB});
    printed([&] { KelpStl::readBinaryStl(write(three.substr(0, 84 + 100 + 48)).c_str(), &mesh); });
    EXPECT_EQ(mesh.vertices, soupOf({kA, kC, kB, kB}));
    printed([&] { KelpStl::readBinaryStl(write(three.substr(0, 84 + 100 + 47)).c_str(), &mesh); });
    EXPECT_EQ(mesh.vertices, soupOf({kA, kC, kC, kC}));
    // Nothing whole at all: the corners start out zero.
    printed([&] { KelpStl::readBinaryStl(write(three.substr(0, 84 + 30)).c_str(), &mesh); });
    EXPECT_EQ(mesh.vertices, std::vector<Vec3f>(12, Vec3f{0, 0, 0}));
}

TEST_F(StlRead, WeldingWhileReadingEqualsWeldingAfterwards) {
    // A grid of shared corners spread over several read blocks, cut short so
    // that the repeated tail is welded too.
    std::vector<Triangle> triangles;
    for (int row = 0; row < 100; ++row)
        for (int col = 0; col < 120; ++col) {
            const float x = float(col), y = float(row);
            triangles.push_back({{{x, y, 0}, {x + 1, y, 0}, {x + 1, y + 1, 0}}});
            triangles.push_back({{{x, y, 0}, {x + 1, y + 1, 0}, {x, y + 1, 0}}});
        }
    std::string bytes = StlTest::binaryStl(26000, triangles);
    bytes.resize(bytes.size() - 50 * 3000 - 7);
    const std::string path = write(bytes);

    KelpTriMesh separate, fused;
    printed([&] { KelpStl::readBinaryStl(path.c_str(), &separate); });
    // The soup across read blocks: triangle by triangle, then the last whole one repeated.
    ASSERT_EQ(separate.vertices.size(), 78000u);
    for (std::size_t i : {0u, 8191u, 8192u, 20998u, 20999u, 25999u}) {
        const Triangle& expected = triangles[std::min<std::size_t>(i, 20998)];
        for (int c = 0; c < 3; ++c) EXPECT_EQ(separate.vertices[3 * i + c], expected[c]) << i;
        EXPECT_EQ(separate.faces[i], (Vec3u{3u * unsigned(i), 3u * unsigned(i) + 1, 3u * unsigned(i) + 2}));
    }
    printed([&] { KelpStl::weldSoup(&separate); });
    EXPECT_EQ(printed([&] { KelpStl::readBinaryStl(path.c_str(), &fused, true); }),
              "OpenBinary::fn=26000\nOpenBinary::read end\nRemoveRedundant::End\n");
    EXPECT_EQ(fused.vertices, separate.vertices);
    EXPECT_EQ(fused.faces, separate.faces);
    EXPECT_EQ(fused.faceFlags, separate.faceFlags);
    EXPECT_LT(separate.vertexCount, 20000u);  // corners were shared
    EXPECT_EQ(separate.faceCount, 26000u);
}

TEST_F(StlRead, CountsFromTwoToTheThirtyFirstVisitNoTriangle) {
    EXPECT_EQ(KelpStl::visitedTriangles(0), 0u);
    EXPECT_EQ(KelpStl::visitedTriangles(0x7FFFFFFFu), 0x7FFFFFFFu);
    EXPECT_EQ(KelpStl::visitedTriangles(0x80000000u), 0u);
    EXPECT_EQ(KelpStl::visitedTriangles(0xFFFFFFFFu), 0u);
}

TEST_F(StlRead, ReadersKeepAttributeBitsAndSizeTheirArrays) {
    for (const std::string& bytes :
         {StlTest::binaryStl(2, {kA, kB}), "solid\n" + StlTest::asciiFacet(kA) + StlTest::asciiFacet(kB) + "endsolid\n"}) {
        KelpTriMesh mesh;
        mesh.vertexAttributes = 1 | 4;
        mesh.faceAttributes = 2;
        for (int i = 0; i < 10; ++i) mesh.addVertex({9, 9, 9});
        printed([&] { ASSERT_TRUE(KelpGraphic::KelpReadStl(write(bytes).c_str(), &mesh)); });
        EXPECT_EQ(mesh.vertices, (std::vector<Vec3f>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}));
        EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 1, 2}, {1, 3, 2}}));
        EXPECT_EQ(mesh.vertexNormals.size(), 4u);
        EXPECT_EQ(mesh.vertexAuxValues.size(), 4u);
        EXPECT_TRUE(mesh.vertexAuxVectors.empty());
        EXPECT_EQ(mesh.faceAuxVectors.size(), 2u);
        EXPECT_TRUE(mesh.faceNormals.empty());
    }
}

TEST_F(StlRead, LocaleAroundTheCall) {
    KELP_REQUIRE_READER_LOCALE();
    KelpTriMesh mesh;
    mesh.addVertex({1, 2, 3});
    EXPECT_FALSE(KelpGraphic::KelpReadStl(dir.file("missing.stl").c_str(), &mesh));
    EXPECT_EQ(KelpTest::currentLocale(), KelpTest::kReaderLocale);
    EXPECT_EQ(mesh.vertexCount, 1u);

    std::setlocale(LC_ALL, "C");
    printed([&] { EXPECT_TRUE(KelpGraphic::KelpReadStl(write(StlTest::binaryStl(1, {kA})).c_str(), &mesh)); });
    EXPECT_EQ(KelpTest::currentLocale(), "C");
    printed([&] { EXPECT_TRUE(KelpGraphic::KelpReadStl(write("solid\n" + StlTest::asciiFacet(kA) + "endsolid").c_str(), &mesh)); });
    EXPECT_EQ(KelpTest::currentLocale(), "C");
}

class StlAscii : public StlRead {
protected:
    // The soup as the ASCII reader leaves it, before welding.
    bool read(const std::string& text, KelpTriMesh& mesh) {
        bool result = false;
        EXPECT_EQ(printed([&] { result = KelpStl::readAsciiStl(write(text).c_str(), &mesh); }), "");
        return result;
    }
};

TEST_F(StlAscii, FileEndingRightAfterALastFacetLosesIt) {
    KelpTriMesh mesh;
    std::string facets = "solid\n" + StlTest::asciiFacet(kA) + StlTest::asciiFacet(kC);
    ASSERT_TRUE(read(facets, mesh));
    EXPECT_EQ(mesh.vertices, soupOf({kA, kC}));  // a line feed follows the last word
    // Provisional face numbers advance by one per facet; welding never reads them.
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 1, 2}, {1, 2, 3}}));
    facets.pop_back();
    ASSERT_TRUE(read(facets, mesh));
    EXPECT_EQ(mesh.vertices, soupOf({kA}));
    // Empty, or nothing after the first line: an empty mesh.
    for (const char* text : {"", "solid", "solid\n"}) {
        ASSERT_TRUE(read(text, mesh));
        EXPECT_TRUE(mesh.vertices.empty() && mesh.faces.empty());
    }
}

TEST_F(StlAscii, CornerThatDoesNotParseFailsAndKeepsTheMesh) {
    KELP_REQUIRE_READER_LOCALE();
    KelpTriMesh mesh;
    mesh.addVertex({7, 7, 7});
    mesh.addFace(0, 0, 0);
    const std::string text = "solid\n" + StlTest::asciiFacet(kA) +
                             "facet normal 0 0 1\nouter loop\nvertex 1 2 3\nvertex 1 2\nvertex 1 2 3\nendloop\nendfacet\nendsolid\n";
    EXPECT_FALSE(read(text, mesh));
    EXPECT_EQ(mesh.vertices, (std::vector<Vec3f>{{7, 7, 7}}));
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 0, 0}}));
    EXPECT_EQ(KelpTest::currentLocale(), KelpTest::kReaderLocale);

    // Through the entry point: false, and no welding line.
    std::setlocale(LC_ALL, "C");
    bool result = true;
    EXPECT_EQ(printed([&] { result = KelpGraphic::KelpReadStl(write(text).c_str(), &mesh); }), "");
    EXPECT_FALSE(result);
    EXPECT_EQ(mesh.vertexCount, 1u);
}

}  // namespace
