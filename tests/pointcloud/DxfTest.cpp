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

namespace {

class DxfRead : public ::testing::Test {
protected:
    // Reads `text` into a fresh cloud; returns the result and keeps the cloud.
    bool read(const std::string& text) {
        const std::string path = dir.file("drawing.dxf");
        KelpTest::writeFile(path, text);
        cloud = KelpPointSet();
        const bool result = KelpGraphic::KelpReadDxf(path.c_str(), &cloud);
        EXPECT_EQ(cloud.vertexCount, cloud.vertices.size());
        EXPECT_EQ(cloud.vertexFlags.size(), cloud.vertices.size());
        return result;
    }

    static std::string lines(std::initializer_list<const char*> words) {
        std::string text;
        for (const char* word : words) text += std::string(word) + "\n";
        return text;
    }

    KelpTest::LocaleGuard locale;
    KelpTest::TempDir dir;
    KelpPointSet cloud;
};

const std::string kHead = "0\nSECTION\n2\nENTITIES\n";

TEST_F(DxfRead, OnePoint) {
    EXPECT_TRUE(read(lines({"0", "SECTION", "2", "ENTITIES", "0", "POINT", "10", "1.5", "20", "2.5", "30", "3.5", "0",
                            "ENDSEC"})));
    EXPECT_EQ(cloud.vertices, (std::vector<Vec3f>{{1.5f, 2.5f, 3.5f}}));
}

TEST_F(DxfRead, CoordinatesCarryOverBetweenPoints) {
    // No "30" in the second point: it keeps the z of the first. The very first
    // point starts from zeros.
    EXPECT_TRUE(read(kHead + "0 POINT 10 1 20 2 30 3 0 POINT 10 4 20 5 0 POINT 0 ENDSEC"));
    EXPECT_EQ(cloud.vertices, (std::vector<Vec3f>{{1, 2, 3}, {4, 5, 3}, {4, 5, 3}}));
    EXPECT_TRUE(read(kHead + "POINT 20 7 0 ENDSEC"));
    EXPECT_EQ(cloud.vertices, (std::vector<Vec3f>{{0, 7, 0}}));
}

TEST_F(DxfRead, LayerZeroEndsThePointEarly) {
    // The usual layout: layer "0" before the coordinates. The point repeats the
    // previous coordinates, and its own are passed over by the entity scan.
    EXPECT_TRUE(read(kHead + "0 POINT 10 1 20 2 30 3 0 "
                             "POINT 8 0 10 4 20 5 30 6 0 ENDSEC"));
    EXPECT_EQ(cloud.vertices, (std::vector<Vec3f>{{1, 2, 3}, {1, 2, 3}}));
    // Coordinates before the layer group read correctly.
    EXPECT_TRUE(read(kHead + "0 POINT 10 4 20 5 30 6 8 0 ENDSEC"));
    EXPECT_EQ(cloud.vertices, (std::vector<Vec3f>{{4, 5, 6}}));
}

TEST_F(DxfRead, OnlyWordsAfterPointAreExamined) {
    // The LINE's 10/20/30 groups and the 11/21/31 groups are never read; an
    // "ENDSEC" inside a point does not end it, only a "0" does.
    EXPECT_TRUE(read(kHead + "0 LINE 10 9 20 9 30 9 11 8 21 8 31 8 "
                             "0 POINT 11 5 10 1 ENDSEC 20 2 30 3 0 ENDSEC 0 POINT 10 7 0"));
    EXPECT_EQ(cloud.vertices, (std::vector<Vec3f>{{1, 2, 3}}));
}

TEST_F(DxfRead, CoordinateValuesScanLikeFscanfFloat) {
    // "1.5abc": 1.5, then "abc" is a word of its own. "x0" is no number and no
    // "0": it stays as the next word and is passed over.
    EXPECT_TRUE(read(kHead + "POINT 10 1.5abc 20 x0 30 1e 0 ENDSEC"));
    EXPECT_EQ(cloud.vertices, (std::vector<Vec3f>{{1.5f, 0, 1}}));
    // "nan0" is NaN followed by the word "0", which ends the point at once.
    EXPECT_TRUE(read(kHead + "POINT 10 2 20 nan0 30 5 0 ENDSEC"));
    ASSERT_EQ(cloud.vertexCount, 1u);
    EXPECT_EQ(cloud.vertices[0][0], 2.0f);
    EXPECT_TRUE(std::isnan(cloud.vertices[0][1]));
    EXPECT_EQ(cloud.vertices[0][2], 0.0f);
    // A broken "infinity" swallows the character that broke it, here the "0".
    EXPECT_TRUE(read(kHead + "POINT 10 infi0 20 4 0 ENDSEC"));
    EXPECT_EQ(cloud.vertices, (std::vector<Vec3f>{{0, 4, 0}}));
    // Hexadecimal floats and signs.
    EXPECT_TRUE(read(kHead + "POINT 10 0x1p3 20 -0.25 30 +1e2 0 ENDSEC"));
    EXPECT_EQ(cloud.vertices, (std::vector<Vec3f>{{8, -0.25f, 100}}));
}

TEST_F(DxfRead, HeaderMustBeExact) {
    KELP_REQUIRE_READER_LOCALE();
    for (const std::string& text :
         {std::string("999\ncomment\n") + kHead + "POINT 0 ENDSEC", std::string("0 section 2 ENTITIES POINT 0 ENDSEC"),
          std::string("0 SECTION 02 ENTITIES POINT 0 ENDSEC"), std::string("00 SECTION 2 ENTITIES"),
          std::string(""), std::string("0"), std::string("0 SECTION"), std::string("0 SECTION 2")}) {
        std::setlocale(LC_ALL, "C");
        EXPECT_FALSE(read(text)) << text;
        EXPECT_EQ(cloud.vertexCount, 0u);
        // The failure path leaves the locale switched.
        EXPECT_EQ(KelpTest::currentLocale(), KelpTest::kReaderLocale) << text;
    }
}

TEST_F(DxfRead, NoEntitiesIsFalseWithTheLocaleLeftSwitched) {
    KELP_REQUIRE_READER_LOCALE();
    EXPECT_FALSE(read("0 SECTION 2 HEADER 0 ENDSEC 0 POINT 10 1 0 EOF"));
    EXPECT_EQ(cloud.vertexCount, 0u);
    EXPECT_EQ(KelpTest::currentLocale(), KelpTest::kReaderLocale);
    // Case and length are compared exactly.
    EXPECT_FALSE(read("0 SECTION 2 entities POINT 0 ENDSEC ENTITIESX"));
}

TEST_F(DxfRead, SuccessRestoresTheCLocale) {
    KELP_REQUIRE_READER_LOCALE();
    EXPECT_TRUE(read(kHead + "ENDSEC"));
    EXPECT_EQ(KelpTest::currentLocale(), "C");
}

TEST_F(DxfRead, EndOfFileEndsTheScanAsEndsec) {
    KELP_REQUIRE_READER_LOCALE();
    // Inside the entity scan, inside a point, and right after a group word
    // whose value is missing: nothing more is added, the result is true.
    EXPECT_TRUE(read(kHead + "0 POINT 10 1 0 POINT 10 2"));
    EXPECT_EQ(cloud.vertices, (std::vector<Vec3f>{{1, 0, 0}}));
    EXPECT_EQ(KelpTest::currentLocale(), "C");
    EXPECT_TRUE(read(kHead + "POINT 10"));
    EXPECT_EQ(cloud.vertexCount, 0u);
    EXPECT_TRUE(read(kHead + "POINT 10 3 0"));
    EXPECT_EQ(cloud.vertices, (std::vector<Vec3f>{{3, 0, 0}}));
    EXPECT_TRUE(read("0 SECTION 2 ENTITIES"));
    EXPECT_EQ(cloud.vertexCount, 0u);
}

TEST_F(DxfRead, LongWordsAreReadInPiecesOf250) {
    // A 255-character word whose last five characters are "POINT" is the two
    // words 250 x "x" and "POINT"; a word of 250 "1" and a "0" ends the point.
    const std::string longPoint = std::string(250, 'x') + "POINT";
    EXPECT_TRUE(read(kHead + longPoint + " 10 6 0 " + std::string(250, '1') + "0 ENDSEC"));
    EXPECT_EQ(cloud.vertices, (std::vector<Vec3f>{{6, 0, 0}}));
    EXPECT_TRUE(read(kHead + "POINT 10 1 " + std::string(250, '0') + " 20 2 0 ENDSEC"));
    EXPECT_EQ(cloud.vertices, (std::vector<Vec3f>{{1, 2, 0}}));
    // One more zero and the last piece is a word "0" of its own.
    EXPECT_TRUE(read(kHead + "POINT 10 1 " + std::string(251, '0') + " 20 2 0 ENDSEC"));
    EXPECT_EQ(cloud.vertices, (std::vector<Vec3f>{{1, 0, 0}}));
    // Far longer words never overrun anything.
    EXPECT_TRUE(read(kHead + std::string(100000, 'Q') + " POINT 0 ENDSEC"));
    EXPECT_EQ(cloud.vertexCount, 1u);
}

TEST_F(DxfRead, AppendsToWhatTheCloudHolds) {
    const std::string path = dir.file("append.dxf");
    KelpTest::writeFile(path, kHead + "POINT 10 1 20 1 30 1 0 ENDSEC");
    KelpPointSet points;
    points.vertexAttributes = 1;
    points.addVertex({9, 9, 9});
    ASSERT_TRUE(KelpGraphic::KelpReadDxf(path.c_str(), &points));
    EXPECT_EQ(points.vertices, (std::vector<Vec3f>{{9, 9, 9}, {1, 1, 1}}));
    EXPECT_EQ(points.vertexNormals.size(), 2u);
}

TEST_F(DxfRead, MissingFileIsFalse) {
    KelpPointSet points;
    EXPECT_FALSE(KelpGraphic::KelpReadDxf(dir.file("missing.dxf").c_str(), &points));
    EXPECT_EQ(points.vertexCount, 0u);
}

// The classic stdio loop, with the end of the file ending the scans, as the
// oracle for files of random words.
bool stdioRead(const std::string& path, std::vector<Vec3f>& points) {
    std::FILE* file = std::fopen(path.c_str(), "rt");
    if (!file) return false;
    char word[251];
    auto next = [&] { return std::fscanf(file, "%250s", word) == 1; };
    auto is = [&](const char* keyword) { return std::strcmp(word, keyword) == 0; };
    bool result = next() && is("0") && next() && is("SECTION") && next() && is("2");
    if (result) {
        while ((result = next()) && !is("ENTITIES")) {}
    }
    if (result) {
        float xyz[3] = {0, 0, 0};
        while (next() && !is("ENDSEC")) {
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
    }
    std::fclose(file);
    return result;
}

TEST_F(DxfRead, RandomWordsReadAsTheStdioLoop) {
    std::mt19937 random(1234);
    const std::vector<std::string> vocabulary = {
        "0",   "POINT", "POINT", "10",   "20",    "30",   "8",      "ENDSEC", "1.5",  "-2e3", "7",     "abc", "nan0",
        "1e",  "-",     "+-3",   "0x1p3", "infi0", "inf", ".5e",   "LINE",   "11",   "0.0",  "2.5e+", "1.2.3"};
    const char* const spaces[] = {" ", "\n", "\r\n", "\t", "  \n"};
    for (int round = 0; round < 300; ++round) {
        std::string text = random() % 10 ? "0\nSECTION\n2\n" : "0 SECTION 3\n";
        if (random() % 10) text += "HEADER 0 ENDSEC 0 SECTION 2 ENTITIES\n";
        const int words = static_cast<int>(random() % 200);
        for (int i = 0; i < words; ++i) {
            text += vocabulary[random() % vocabulary.size()];
            text += spaces[random() % 5];
        }
        const std::string path = dir.file("random.dxf");
        KelpTest::writeFile(path, text);
        std::vector<Vec3f> expected;
        const bool expectedResult = stdioRead(path, expected);
        KelpPointSet points;
        ASSERT_EQ(KelpGraphic::KelpReadDxf(path.c_str(), &points), expectedResult) << text;
        ASSERT_EQ(points.vertices.size(), expected.size()) << text;
        if (!expected.empty()) {
            ASSERT_EQ(std::memcmp(points.vertices.data(), expected.data(), expected.size() * sizeof(Vec3f)), 0) << text;
        }
        std::setlocale(LC_ALL, "C");
    }
}

}  // namespace
