#include <KelpFileIO.h>

#include "support/LocaleGuard.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include "scan/ScanSource.h"

#include <cmath>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>
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

// The stream loop itself, with a failed extraction keeping the coordinate's
// previous value.
std::vector<Vec3f> streamLoop(const std::string& path) {
    std::vector<Vec3f> points;
    std::ifstream in(path);
    float xyz[3] = {0, 0, 0};
    std::string line;
    while (!in.eof()) {
        std::getline(in, line);
        std::istringstream words(line);
        for (float& c : xyz) {
            float value;
            if (!(words >> value)) break;
            c = value;
        }
        points.push_back({xyz[0], xyz[1], xyz[2]});
        if (in.fail()) break;
    }
    return points;
}

TEST_F(AscRead, RandomLinesReadAsTheStreamLoop) {
    const char* const words[] = {"1.5", "-2e3", "+.5", "1e", "1e+", "-", ".", "1e39", "1e-60", "0x1p3", "nan",
                                 "12abc", "1,2", "5.", "0.000001", "123456789012345678901234567890", "-0", "\xff"};
    const char* const gaps[] = {" ", "  ", "\t", ",", "\r"};
    std::mt19937 random(5);
    for (int round = 0; round < 300; ++round) {
        std::string text;
        for (int line = static_cast<int>(random() % 6); line > 0; --line) {
            for (int k = static_cast<int>(random() % 5); k > 0; --k)
                text += std::string(gaps[random() % std::size(gaps)]) + words[random() % std::size(words)];
            text += "\n";
        }
        if (random() % 2 && !text.empty()) text.pop_back();
        const std::string path = dir.file("random.asc");
        KelpTest::writeFile(path, text);
        const std::vector<Vec3f> expected = streamLoop(path);
        // Every other file through a window of a few bytes: refills inside numbers.
        KelpScan::ScanSource::setChunkForTesting(round % 2 ? 1 + round % 7 : 0);
        const std::vector<Vec3f> actual = read(text);
        KelpScan::ScanSource::setChunkForTesting(0);
        ASSERT_EQ(actual.size(), expected.size()) << text;
        ASSERT_EQ(std::memcmp(actual.data(), expected.data(), actual.size() * sizeof(Vec3f)), 0) << text;
    }
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
