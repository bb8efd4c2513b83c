#include <KelpFileIO.h>

#include "support/Bits.h"
#include "support/FileTest.h"
#include "support/MeshChecks.h"

#include <gtest/gtest.h>

#include "scan/ScanSource.h"

#include <cmath>
#include <fstream>
#include <random>
#include <sstream>
#include <vector>

using KelpCore::KelpPointSet;
using KelpCore::Vec3f;

namespace {

class AscRead : public KelpTest::FileTest {
protected:
    std::vector<Vec3f> read(const std::string& text) {
        KelpPointSet cloud;
        EXPECT_TRUE(KelpGraphic::KelpReadAsc(write(text), &cloud));
        KelpTest::expectVertexInvariants(cloud);
        return cloud.vertices;
    }
};

TEST_F(AscRead, StreamQuirks) {
    const std::pair<const char*, std::vector<Vec3f>> cases[] = {
        // A final line feed repeats the last point.
        {"1 2 3\n4 5 6\n", {{1, 2, 3}, {4, 5, 6}, {4, 5, 6}}},
        {"1 2 3\n4 5 6", {{1, 2, 3}, {4, 5, 6}}},
        // Unreadable lines keep stale coordinates: after the first failed
        // extraction the line stream is failed, so y and z stay.
        {"1 2 3\n\n7 8 9\n", {{1, 2, 3}, {1, 2, 3}, {7, 8, 9}, {7, 8, 9}}},
        {"4 5 6\n1,2,3", {{4, 5, 6}, {1, 5, 6}}},
        {"4 5 6\n9 x 7", {{4, 5, 6}, {9, 5, 6}}},
        {"4 5 6\n1 2", {{4, 5, 6}, {1, 2, 6}}},
        // Before any successful read the coordinates start at zero; an empty
        // file gives one point from its failed first line.
        {"abc\n", {{0, 0, 0}, {0, 0, 0}}},
        {"", {{0, 0, 0}}},
        // Only the first three numbers count.
        {"1 2 3 0.5 0.25 1 255 0 0", {{1, 2, 3}}},
        // Stream notation and line ends.
        {"-2e3 +.5 1.\r\n", {{-2000, 0.5f, 1}, {-2000, 0.5f, 1}}},
        {"\t 1\t2   3   ", {{1, 2, 3}}},
    };
    for (const auto& [text, points] : cases) EXPECT_EQ(read(text), points) << text;
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
        const std::vector<Vec3f> expected = streamLoop(write(text));
        // Every other file through a window of a few bytes: refills inside numbers.
        KelpScan::ScanSource::setChunkForTesting(round % 2 ? 1 + round % 7 : 0);
        const std::vector<Vec3f> actual = read(text);
        KelpScan::ScanSource::setChunkForTesting(0);
        ASSERT_TRUE(KelpTest::sameBits(actual, expected)) << text;
    }
}

TEST_F(AscRead, AppendsToWhatTheCloudHolds) {
    KelpPointSet cloud;
    cloud.vertexAttributes = 1;
    cloud.addVertex({9, 9, 9});
    ASSERT_TRUE(KelpGraphic::KelpReadAsc(write("1 1 1"), &cloud));
    EXPECT_EQ(cloud.vertices, (std::vector<Vec3f>{{9, 9, 9}, {1, 1, 1}}));
    EXPECT_EQ(cloud.vertexNormals.size(), 2u);
}

using AscWrite = KelpTest::FileTest;

TEST_F(AscWrite, SixDecimalsASpaceAfterEachNumberAndABareLineFeed) {
    const std::pair<std::vector<Vec3f>, const char*> cases[] = {
        {{{1.0f, 2.5f, -3.0f}, {0.1f, 1e20f, -0.0000004f}},
         "1.000000 2.500000 -3.000000 \n0.100000 100000002004087734272.000000 -0.000000 \n"},
        {{{INFINITY, -INFINITY, 3.0f}}, "inf -inf 3.000000 \n"},  // as printf spells them
        {{}, ""},
    };
    for (const auto& [points, text] : cases) {
        KelpPointSet cloud;
        cloud.vertexAttributes = 1;
        for (const Vec3f& p : points) cloud.addVertex(p);
        ASSERT_TRUE(KelpGraphic::KelpWriteAsc(path.c_str(), &cloud));
        EXPECT_EQ(KelpTest::readFile(path), text);
    }
}

}  // namespace
