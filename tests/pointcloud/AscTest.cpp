#include <KelpFileIO.h>

#include "support/LocaleGuard.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using KelpCore::KelpPointSet;
using KelpCore::Vec3f;

namespace {

class AscRead : public ::testing::Test {
protected:
    std::vector<Vec3f> read(const std::string& text) {
        const std::string path = dir.file("cloud.asc");
        KelpTest::writeFile(path, text);
        KelpPointSet cloud;
        EXPECT_TRUE(KelpGraphic::KelpReadAsc(path.c_str(), &cloud));
        EXPECT_EQ(cloud.vertexCount, cloud.vertices.size());
        EXPECT_EQ(cloud.vertexFlags.size(), cloud.vertices.size());
        return cloud.vertices;
    }

    KelpTest::LocaleGuard locale;
    KelpTest::TempDir dir;
};

TEST_F(AscRead, FinalLineFeedRepeatsTheLastPoint) {
    EXPECT_EQ(read("1 2 3\n4 5 6\n"), (std::vector<Vec3f>{{1, 2, 3}, {4, 5, 6}, {4, 5, 6}}));
    EXPECT_EQ(read("1 2 3\n4 5 6"), (std::vector<Vec3f>{{1, 2, 3}, {4, 5, 6}}));
}

TEST_F(AscRead, UnreadableLinesKeepStaleCoordinates) {
    EXPECT_EQ(read("1 2 3\n\n7 8 9\n"), (std::vector<Vec3f>{{1, 2, 3}, {1, 2, 3}, {7, 8, 9}, {7, 8, 9}}));
    // After the first failed extraction the line stream is failed: y and z stay.
    EXPECT_EQ(read("4 5 6\n1,2,3"), (std::vector<Vec3f>{{4, 5, 6}, {1, 5, 6}}));
    EXPECT_EQ(read("4 5 6\n9 x 7"), (std::vector<Vec3f>{{4, 5, 6}, {9, 5, 6}}));
    EXPECT_EQ(read("4 5 6\n1 2"), (std::vector<Vec3f>{{4, 5, 6}, {1, 2, 6}}));
    // Before any successful read the coordinates start at zero.
    EXPECT_EQ(read("abc\n"), (std::vector<Vec3f>{{0, 0, 0}, {0, 0, 0}}));
}

TEST_F(AscRead, OnlyTheFirstThreeNumbersCount) {
    EXPECT_EQ(read("1 2 3 0.5 0.25 1 255 0 0"), (std::vector<Vec3f>{{1, 2, 3}}));
}

TEST_F(AscRead, EmptyFileGivesOnePointFromTheFailedFirstLine) {
    EXPECT_EQ(read(""), (std::vector<Vec3f>{{0, 0, 0}}));
}

TEST_F(AscRead, StreamNotationAndLineEnds) {
    EXPECT_EQ(read("-2e3 +.5 1.\r\n"), (std::vector<Vec3f>{{-2000, 0.5f, 1}, {-2000, 0.5f, 1}}));
    EXPECT_EQ(read("\t 1\t2   3   "), (std::vector<Vec3f>{{1, 2, 3}}));
}

TEST_F(AscRead, AppendsToWhatTheCloudHolds) {
    const std::string path = dir.file("append.asc");
    KelpTest::writeFile(path, "1 1 1");
    KelpPointSet cloud;
    cloud.vertexAttributes = 1;
    cloud.addVertex({9, 9, 9});
    ASSERT_TRUE(KelpGraphic::KelpReadAsc(path.c_str(), &cloud));
    EXPECT_EQ(cloud.vertices, (std::vector<Vec3f>{{9, 9, 9}, {1, 1, 1}}));
    EXPECT_EQ(cloud.vertexNormals.size(), 2u);
}

TEST_F(AscRead, MissingFileIsFalseAndAddsNothing) {
    KelpPointSet cloud;
    EXPECT_FALSE(KelpGraphic::KelpReadAsc(dir.file("missing.asc").c_str(), &cloud));
    EXPECT_EQ(cloud.vertexCount, 0u);
}

TEST_F(AscRead, ParsesUnderCAndLeavesTheLocaleAtC) {
    KELP_REQUIRE_READER_LOCALE();
    const std::string path = dir.file("locale.asc");
    KelpTest::writeFile(path, "1.5 2.5 3.5");
    std::setlocale(LC_ALL, KelpTest::kReaderLocale);
    KelpPointSet cloud;
    ASSERT_TRUE(KelpGraphic::KelpReadAsc(path.c_str(), &cloud));
    EXPECT_EQ(cloud.vertices, (std::vector<Vec3f>{{1.5f, 2.5f, 3.5f}}));
    EXPECT_EQ(KelpTest::currentLocale(), "C");

    // Also when the file is missing: "C" comes back right after the open.
    std::setlocale(LC_ALL, KelpTest::kReaderLocale);
    EXPECT_FALSE(KelpGraphic::KelpReadAsc(dir.file("missing.asc").c_str(), &cloud));
    EXPECT_EQ(KelpTest::currentLocale(), "C");
}

class AscWrite : public ::testing::Test {
protected:
    KelpTest::LocaleGuard locale;
    KelpTest::TempDir dir;
};

TEST_F(AscWrite, SixDecimalsASpaceAfterEachNumberAndABareLineFeed) {
    KelpPointSet cloud;
    cloud.vertexAttributes = 1;
    cloud.addVertex({1.0f, 2.5f, -3.0f});
    cloud.addVertex({0.1f, 1e20f, -0.0000004f});
    const std::string path = dir.file("out.asc");
    ASSERT_TRUE(KelpGraphic::KelpWriteAsc(path.c_str(), &cloud));
    EXPECT_EQ(KelpTest::readFile(path),
              "1.000000 2.500000 -3.000000 \n"
              "0.100000 100000002004087734272.000000 -0.000000 \n");
}

TEST_F(AscWrite, NonFiniteValuesAsPrintfSpellsThem) {
    KelpPointSet cloud;
    cloud.addVertex({INFINITY, -INFINITY, 3.0f});
    const std::string path = dir.file("inf.asc");
    ASSERT_TRUE(KelpGraphic::KelpWriteAsc(path.c_str(), &cloud));
    EXPECT_EQ(KelpTest::readFile(path), "inf -inf 3.000000 \n");
}

TEST_F(AscWrite, EmptyCloudGivesEmptyFileAndUnwritablePathFails) {
    KelpPointSet cloud;
    const std::string path = dir.file("empty.asc");
    ASSERT_TRUE(KelpGraphic::KelpWriteAsc(path.c_str(), &cloud));
    EXPECT_EQ(KelpTest::readFile(path), "");
    EXPECT_FALSE(KelpGraphic::KelpWriteAsc(dir.file("no/such/dir.asc").c_str(), &cloud));
}

TEST_F(AscWrite, LeavesTheLocaleAlone) {
    KELP_REQUIRE_READER_LOCALE();
    KelpPointSet cloud;
    cloud.addVertex({1, 2, 3});
    std::setlocale(LC_ALL, KelpTest::kReaderLocale);
    ASSERT_TRUE(KelpGraphic::KelpWriteAsc(dir.file("l.asc").c_str(), &cloud));
    EXPECT_EQ(KelpTest::currentLocale(), KelpTest::readerLocaleName());
}

TEST_F(AscWrite, RoundTripKeepsSixDecimals) {
    KelpPointSet cloud;
    for (int i = 0; i < 1000; ++i) cloud.addVertex({i * 0.001f, -i * 1.25f, 1e6f + i});
    const std::string path = dir.file("round.asc");
    ASSERT_TRUE(KelpGraphic::KelpWriteAsc(path.c_str(), &cloud));
    KelpPointSet back;
    ASSERT_TRUE(KelpGraphic::KelpReadAsc(path.c_str(), &back));
    ASSERT_EQ(back.vertexCount, 1001u);
    for (int i = 0; i < 1000; ++i)
        for (int a = 0; a < 3; ++a) EXPECT_NEAR(back.vertices[i][a], cloud.vertices[i][a], 5e-7 * (1 + std::abs(cloud.vertices[i][a])));
    EXPECT_EQ(back.vertices[1000], back.vertices[999]);
}

}  // namespace
