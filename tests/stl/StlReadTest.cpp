#include <KelpFileIO.h>

#include "stl/StlReaders.h"
#include "stl/StlTestFiles.h"
#include "support/LocaleGuard.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <cmath>
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

TEST_F(StlRead, TextWhoseBytesSpellAMatchingCountIsBinary) {
    // Find a file size whose count at offsets 80..83 is made of ASCII letters.
    for (std::uint32_t size = 212; size < 200000; size += 2) {
        // 50 n = size - 84 (mod 2^32): n = (size - 84) / 2 * 25^-1 (mod 2^31).
        std::uint32_t inverse = 1;
        for (int i = 0; i < 5; ++i) inverse *= 2 - 25 * inverse;  // Newton steps for 25^-1 mod 2^32
        const std::uint32_t base = ((size - 84) / 2 * inverse) & 0x7FFFFFFFu;
        for (std::uint32_t n : {base, base | 0x80000000u}) {
            bool letters = true;
            for (int b = 0; b < 4; ++b) {
                const unsigned char byte = (n >> (8 * b)) & 0xFF;
                letters = letters && byte >= 'a' && byte <= 'z';
            }
            if (!letters) continue;
            std::string text(size, ' ');
            for (int b = 0; b < 4; ++b) text[80 + b] = static_cast<char>((n >> (8 * b)) & 0xFF);
            EXPECT_TRUE(detect(text));
            text.push_back(' ');
            EXPECT_FALSE(detect(text));
            return;
        }
    }
    FAIL() << "no size found";
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

TEST_F(StlRead, BinaryBlocksMatchTriangleByTriangleReading) {
    std::vector<Triangle> triangles;
    for (int i = 0; i < 20000; ++i)
        triangles.push_back({{{float(i), 0, 0}, {0, float(i), 0}, {0, 0, float(-i)}}});
    std::string bytes = StlTest::binaryStl(20000, triangles);
    bytes.resize(84 + 50 * 9000 + 20);  // ends inside the second block
    KelpTriMesh mesh;
    printed([&] { KelpStl::readBinaryStl(write(bytes).c_str(), &mesh); });
    ASSERT_EQ(mesh.vertices.size(), 60000u);
    ASSERT_EQ(mesh.faces.size(), 20000u);
    for (std::size_t i = 0; i < 20000; ++i) {
        const Triangle& expected = triangles[std::min<std::size_t>(i, 8999)];
        for (int c = 0; c < 3; ++c) ASSERT_EQ(mesh.vertices[3 * i + c], expected[c]) << i;
        ASSERT_EQ(mesh.faces[i], (Vec3u{3u * unsigned(i), 3u * unsigned(i) + 1, 3u * unsigned(i) + 2}));
    }
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
    EXPECT_EQ(printed([&] {
                  KelpStl::readBinaryStl(path.c_str(), &separate);
                  KelpStl::weldSoup(&separate);
              }),
              "OpenBinary::fn=26000\nOpenBinary::read end\nRemoveRedundant::End\n");
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

TEST_F(StlAscii, FacetsGiveASoupWithProvisionalFaceNumbers) {
    KelpTriMesh mesh;
    ASSERT_TRUE(read("solid x\n" + StlTest::asciiFacet(kA) + StlTest::asciiFacet(kC) + "endsolid x\n", mesh));
    EXPECT_EQ(mesh.vertices, soupOf({kA, kC}));
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 1, 2}, {1, 2, 3}}));
    EXPECT_EQ(mesh.faceFlags, (std::vector<std::uint32_t>{0, 0}));
    EXPECT_EQ(mesh.vertexCount, 6u);
    EXPECT_EQ(mesh.faceCount, 2u);
}

TEST_F(StlAscii, FileEndingRightAfterALastFacetLosesIt) {
    KelpTriMesh mesh;
    std::string facets = "solid\n" + StlTest::asciiFacet(kA) + StlTest::asciiFacet(kC);
    ASSERT_TRUE(read(facets, mesh));
    EXPECT_EQ(mesh.vertices, soupOf({kA, kC}));  // a line feed follows the last word
    facets.pop_back();
    ASSERT_TRUE(read(facets, mesh));
    EXPECT_EQ(mesh.vertices, soupOf({kA}));
}

TEST_F(StlAscii, OnlyTheNumberOfWordsCounts) {
    KelpTriMesh mesh;
    // Spelling and line structure do not matter.
    ASSERT_TRUE(read("anything\nf n 1 2 3 o l v 0 0 0 v 1 0 0 v 0 1 0 e e\nx", mesh));
    EXPECT_EQ(mesh.vertices, soupOf({kA}));
    // A normal that does not parse is passed over two words at a time.
    ASSERT_TRUE(read("solid\nfacet normal bad\nendfacet\n" + StlTest::asciiFacet(kC) + "endsolid\n", mesh));
    EXPECT_EQ(mesh.vertices, soupOf({kC}));
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

TEST_F(StlAscii, EmptyAndHeaderOnlyFilesGiveAnEmptyMesh) {
    for (const char* text : {"", "solid", "solid\n", "solid\nendsolid\n", "\xFF\xFE garbage"}) {
        KelpTriMesh mesh;
        mesh.addVertex({1, 1, 1});
        mesh.addFace(0, 0, 0);
        ASSERT_TRUE(read(text, mesh)) << text;
        EXPECT_TRUE(mesh.vertices.empty()) << text;
        EXPECT_TRUE(mesh.faces.empty()) << text;
    }
}

TEST_F(StlAscii, NumbersAsScanfReadsThem) {
    KelpTriMesh mesh;
    ASSERT_TRUE(read("solid\nfacet normal 0 0 1 outer loop\n"
                     "vertex 1.5e+000 -2.25E1 +.5\nvertex 0x1p3 inf -nan\nvertex 1e 3. 7ergs\n"
                     "endloop endfacet\n",
                     mesh));
    ASSERT_EQ(mesh.vertices.size(), 3u);
    EXPECT_EQ(mesh.vertices[0], (Vec3f{1.5f, -22.5f, 0.5f}));
    EXPECT_EQ(mesh.vertices[1][0], 8.0f);
    EXPECT_TRUE(std::isinf(mesh.vertices[1][1]));
    EXPECT_TRUE(std::isnan(mesh.vertices[1][2]));
    // "1e" converts as 1; "7ergs" gives 7 with "rgs" left as the next word.
    EXPECT_EQ(mesh.vertices[2], (Vec3f{1, 3, 7}));
}

}  // namespace
