#include <KelpFileIO.h>

#include "support/Bits.h"
#include "support/CReference.h"
#include "support/FileTest.h"
#include "support/MeshChecks.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>

#include "scan/ScanSource.h"
#include <string>
#include <vector>

using KelpCore::KelpPointSet;
using KelpCore::Vec3f;
using Points = std::vector<Vec3f>;

namespace {

const std::string kHead = "0\nSECTION\n2\nENTITIES\n";

class DxfRead : public KelpTest::FileTest {
protected:
    // Appends to `cloud`, which starts empty in each test.
    bool read(const std::string& text) {
        const bool result = KelpGraphic::KelpReadDxf(write(text), &cloud);
        KelpTest::expectVertexInvariants(cloud);
        return result;
    }

    KelpPointSet cloud;
};

TEST_F(DxfRead, WordQuirks) {
    cloud.vertexAttributes = 1;
    cloud.addVertex({9, 9, 9});
    EXPECT_TRUE(read("0\nSECTION\n2\nENTITIES\n0\nPOINT\n10\n1.5\n20\n2.5\n30\n3.5\n0\nENDSEC\n"));
    EXPECT_EQ(cloud.vertices, (Points{{9, 9, 9}, {1.5f, 2.5f, 3.5f}}));
    EXPECT_EQ(cloud.vertexNormals.size(), 2u);
    // Coordinates start at 0 and carry over; a layer value "0" ends the point
    // early; only words after "POINT" count and only "0" ends a point; a word
    // is compared up to a zero byte.
    cloud = KelpPointSet();
    EXPECT_TRUE(read(kHead + "POINT 20 7 0 POINT 8 0 10 4 0 LINE 10 9 0 POINT 10 1 ENDSEC 20 2 0 " +
                     std::string("POINT\0x", 7) + " 30 3 0 ENDSEC POINT 0"));
    EXPECT_EQ(cloud.vertices, (Points{{0, 7, 0}, {0, 7, 0}, {1, 2, 0}, {1, 2, 3}}));
    // Words are read in pieces of 250: 250 "x" then "POINT" are two words, a
    // word of 251 zeros is 250 zeros and a "0" that ends the point.
    cloud = KelpPointSet();
    EXPECT_TRUE(read(kHead + std::string(250, 'x') + "POINT 10 6 " + std::string(250, '0') + " 0 POINT " +
                     std::string(251, '0') + " " + std::string(100000, 'Q') + " ENDSEC"));
    EXPECT_EQ(cloud.vertices, (Points{{6, 0, 0}, {6, 0, 0}}));
}

TEST_F(DxfRead, FormatFailuresLeaveTheLocaleSwitchedAndEndOfFileSucceeds) {
    KELP_REQUIRE_READER_LOCALE();
    for (const std::string& text : {"999\ncomment\n" + kHead + "POINT 0 ENDSEC", std::string("0 SECTION 2 entities")}) {
        std::setlocale(LC_ALL, "C");
        EXPECT_FALSE(read(text)) << text;
        EXPECT_EQ(KelpTest::currentLocale(), KelpTest::readerLocaleName()) << text;
    }
    // The end of the file ends the scan as "ENDSEC" would, also inside a point.
    EXPECT_TRUE(read(kHead + "POINT 10 1 0 POINT 10 2"));
    EXPECT_TRUE(read(kHead + "POINT 10 3 0 POINT 10"));
    EXPECT_EQ(cloud.vertices, (Points{{1, 0, 0}, {3, 0, 0}}));
    EXPECT_EQ(KelpTest::currentLocale(), "C");
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
        while (next() && !is("0")) {
            for (int axis = 0; axis < 3; ++axis)
                if (is(std::to_string(10 * (axis + 1)).c_str())) std::fscanf(file, "%f", &xyz[axis]);
        }
        if (is("0")) points.push_back({xyz[0], xyz[1], xyz[2]});
    }
    std::fclose(file);
    return result;
}

TEST_F(DxfRead, RandomWordsReadAsTheStdioLoop) {
    KELP_REQUIRE_GLIBC_REFERENCE();
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
        Points expected;
        const bool expectedResult = stdioRead(write(text), expected);
        cloud = KelpPointSet();
        // Every other file through a window of a few bytes: refills inside words and numbers.
        KelpScan::ScanSource::setChunkForTesting(round % 2 ? 1 + round % 7 : 0);
        const bool result = read(text);
        KelpScan::ScanSource::setChunkForTesting(0);
        ASSERT_EQ(result, expectedResult) << text;
        ASSERT_TRUE(KelpTest::sameBits(cloud.vertices, expected)) << text;
        std::setlocale(LC_ALL, "C");
    }
}

}  // namespace
