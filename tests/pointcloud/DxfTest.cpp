#include <KelpFileIO.h>

#include "support/LocaleGuard.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

using KelpCore::KelpPointSet;
using KelpCore::Vec3f;
using Points = std::vector<Vec3f>;

namespace {

const std::string kHead = "0\nSECTION\n2\nENTITIES\n";

class DxfRead : public ::testing::Test {
protected:
    bool read(const std::string& text) {
        const std::string path = dir.file("drawing.dxf");
        KelpTest::writeFile(path, text);
        cloud = KelpPointSet();
        const bool result = KelpGraphic::KelpReadDxf(path.c_str(), &cloud);
        EXPECT_EQ(cloud.vertexFlags.size(), cloud.vertexCount);
        return result;
    }

    KelpTest::LocaleGuard locale;
    KelpTest::TempDir dir;
    KelpPointSet cloud;
};

TEST_F(DxfRead, PointsAndTheirCarriedOverCoordinates) {
    EXPECT_TRUE(read("0\nSECTION\n2\nENTITIES\n0\nPOINT\n10\n1.5\n20\n2.5\n30\n3.5\n0\nENDSEC\n"));
    EXPECT_EQ(cloud.vertices, (Points{{1.5f, 2.5f, 3.5f}}));
    // Coordinates start at 0 and are never reset: a missing group keeps the
    // value of the point before.
    EXPECT_TRUE(read(kHead + "POINT 20 7 0 POINT 10 1 30 3 0 POINT 0 ENDSEC"));
    EXPECT_EQ(cloud.vertices, (Points{{0, 7, 0}, {1, 7, 3}, {1, 7, 3}}));
    // Only words after "POINT" count (not a LINE's groups), and only a "0"
    // ends a point, not an "ENDSEC"; a word is compared up to a zero byte.
    EXPECT_TRUE(read(kHead + "LINE 10 9 20 9 11 8 0 POINT 10 1 ENDSEC 20 2 0 " + std::string("POINT\0x", 7) +
                     " 30 3 0 ENDSEC POINT 0"));
    EXPECT_EQ(cloud.vertices, (Points{{1, 2, 0}, {1, 2, 3}}));
}

TEST_F(DxfRead, LayerZeroEndsThePointEarly) {
    EXPECT_TRUE(read(kHead + "POINT 10 1 20 2 30 3 0 POINT 8 0 10 4 20 5 30 6 0 ENDSEC"));
    EXPECT_EQ(cloud.vertices, (Points{{1, 2, 3}, {1, 2, 3}}));
    EXPECT_TRUE(read(kHead + "POINT 10 4 20 5 30 6 8 0 ENDSEC"));
    EXPECT_EQ(cloud.vertices, (Points{{4, 5, 6}}));
}

TEST_F(DxfRead, CoordinateValuesScanLikeFscanfFloat) {
    // "1.5abc" gives 1.5 and leaves the word "abc"; "x0" is no number and is
    // left as a word; "1e" gives 1; hexadecimal and signs are read.
    EXPECT_TRUE(read(kHead + "POINT 10 1.5abc 20 x0 30 1e 0 POINT 10 0x1p3 20 -0.25 30 +1e2 0 ENDSEC"));
    EXPECT_EQ(cloud.vertices, (Points{{1.5f, 0, 1}, {8, -0.25f, 100}}));
    // "nan0" is NaN followed by the word "0", which ends the point at once; a
    // broken "infinity" swallows the character that broke it, here a "0".
    EXPECT_TRUE(read(kHead + "POINT 20 nan0 30 5 0 POINT 10 infi0 20 4 0 ENDSEC"));
    ASSERT_EQ(cloud.vertexCount, 2u);
    EXPECT_TRUE(std::isnan(cloud.vertices[0][1]));
    EXPECT_EQ(cloud.vertices[0][2], 0.0f);
    EXPECT_EQ(cloud.vertices[1][0], 0.0f);
    EXPECT_EQ(cloud.vertices[1][1], 4.0f);
}

TEST_F(DxfRead, FormatFailuresLeaveTheLocaleSwitched) {
    KELP_REQUIRE_READER_LOCALE();
    for (const std::string& text : {"999\ncomment\n" + kHead + "POINT 0 ENDSEC", std::string("0 section 2 ENTITIES"),
                                    std::string("0 SECTION 02 ENTITIES"), std::string(""), std::string("0 SECTION 2"),
                                    std::string("0 SECTION 2 HEADER entities POINT 0 ENDSEC ENTITIESX")}) {
        std::setlocale(LC_ALL, "C");
        EXPECT_FALSE(read(text)) << text;
        EXPECT_EQ(cloud.vertexCount, 0u);
        EXPECT_EQ(KelpTest::currentLocale(), KelpTest::kReaderLocale) << text;
    }
}

TEST_F(DxfRead, EndOfFileEndsTheScanAsEndsec) {
    KELP_REQUIRE_READER_LOCALE();
    // In the entity scan, inside a point, after a group word without a value:
    // nothing more is added, the result is true and the locale back at "C".
    for (const std::string tail : {"", "POINT 10 1 0", "POINT 10 1 0 POINT 10 2", "POINT 10 1 0 POINT 10"}) {
        EXPECT_TRUE(read(kHead + tail)) << tail;
        const Points expected = tail.empty() ? Points{} : Points{{1, 0, 0}};
        EXPECT_EQ(cloud.vertices, expected) << tail;
        EXPECT_EQ(KelpTest::currentLocale(), "C");
    }
}

TEST_F(DxfRead, LongWordsAreReadInPiecesOf250) {
    // 250 "x" then "POINT" are two words; so are 250 "1" and "0", which ends
    // the point. A word of exactly 250 zeros is no "0".
    EXPECT_TRUE(read(kHead + std::string(250, 'x') + "POINT 10 6 0 " + std::string(250, '1') + "0 ENDSEC"));
    EXPECT_EQ(cloud.vertices, (Points{{6, 0, 0}}));
    EXPECT_TRUE(read(kHead + "POINT 10 1 " + std::string(250, '0') + " 20 2 0 POINT " + std::string(251, '0') +
                     " 20 3 0 ENDSEC"));
    EXPECT_EQ(cloud.vertices, (Points{{1, 2, 0}, {1, 2, 0}}));
    EXPECT_TRUE(read(kHead + std::string(100000, 'Q') + " POINT 0 ENDSEC"));
    EXPECT_EQ(cloud.vertexCount, 1u);
}

TEST_F(DxfRead, AppendsAndMissingFile) {
    const std::string path = dir.file("append.dxf");
    KelpTest::writeFile(path, kHead + "POINT 10 1 20 1 30 1 0 ENDSEC");
    KelpPointSet points;
    points.vertexAttributes = 1;
    points.addVertex({9, 9, 9});
    ASSERT_TRUE(KelpGraphic::KelpReadDxf(path.c_str(), &points));
    EXPECT_EQ(points.vertices, (Points{{9, 9, 9}, {1, 1, 1}}));
    EXPECT_EQ(points.vertexNormals.size(), 2u);
    EXPECT_FALSE(KelpGraphic::KelpReadDxf(dir.file("missing.dxf").c_str(), &points));
    EXPECT_EQ(points.vertexCount, 2u);
}

// The classic stdio loop, with the end of the file ending the scans, as the
// oracle for files of random words.
bool stdioRead(const std::string& path, Points& points) {
    std::FILE* file = std::fopen(path.c_str(), "rt");
    char word[251];
    auto next = [&] { return std::fscanf(file, "%250s", word) == 1; };
    auto is = [&](const char* keyword) { return std::strcmp(word, keyword) == 0; };
    bool result = next() && is("0") && next() && is("SECTION") && next() && is("2");
    while (result && (result = next()) && !is("ENTITIES")) {}
    float xyz[3] = {0, 0, 0};
    while (result && next() && !is("ENDSEC")) {
        if (!is("POINT")) continue;
        while (next()) {
            if (is("0")) {
                points.push_back({xyz[0], xyz[1], xyz[2]});
                break;
            }
            if (is("10")) std::fscanf(file, "%f", &xyz[0]);
            else if (is("20")) std::fscanf(file, "%f", &xyz[1]);
            else if (is("30")) std::fscanf(file, "%f", &xyz[2]);
        }
    }
    std::fclose(file);
    return result;
}

TEST_F(DxfRead, RandomWordsReadAsTheStdioLoop) {
    std::mt19937 random(1234);
    const std::vector<std::string> vocabulary = {"0",   "POINT", "POINT", "10",  "20",  "30",    "8",     "ENDSEC",
                                                 "1.5", "-2e3",  "abc",   "nan0", "1e", "-",     "+-3",   "0x1p3",
                                                 "inf", "infi0", ".5e",   "0.0", "11",  "2.5e+", "1.2.3", "LINE"};
    const char* const spaces[] = {" ", "\n", "\r\n", "\t", "  \n"};
    for (int round = 0; round < 300; ++round) {
        std::string text = random() % 10 ? "0\nSECTION\n2\n" : "0 SECTION 3\n";
        if (random() % 10) text += "HEADER 0 ENDSEC 0 SECTION 2 ENTITIES\n";
        for (int i = static_cast<int>(random() % 200); i > 0; --i)
            text += vocabulary[random() % vocabulary.size()] + spaces[random() % 5];
        ASSERT_NO_FATAL_FAILURE(KelpTest::writeFile(dir.file("random.dxf"), text));
        Points expected;
        const bool expectedResult = stdioRead(dir.file("random.dxf"), expected);
        KelpPointSet points;
        ASSERT_EQ(KelpGraphic::KelpReadDxf(dir.file("random.dxf").c_str(), &points), expectedResult) << text;
        ASSERT_EQ(points.vertices.size(), expected.size()) << text;
        for (std::size_t i = 0; i < expected.size(); ++i)
            ASSERT_EQ(std::memcmp(&points.vertices[i], &expected[i], sizeof(Vec3f)), 0) << text;
        std::setlocale(LC_ALL, "C");
    }
}

}  // namespace
