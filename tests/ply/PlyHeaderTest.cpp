#include "ply/PlyFile.h"

#include "PlyTestFiles.h"
#include "support/FileTest.h"

#include <gtest/gtest.h>

using namespace KelpPly;
using KelpPlyTest::header;

namespace {

class PlyHeader : public KelpTest::FileTest {
protected:
    // Opens `text` as a PLY file; returns the error code (0 when it opened).
    int open(const std::string& text) {
        ply = PlyFile();
        return ply.open(write(text)) ? 0 : ply.lastError;
    }

    PlyFile ply;
};

TEST_F(PlyHeader, ErrorCodes) {
    const std::string v = "element vertex 1\n";
    const std::vector<std::pair<std::string, int>> cases = {
        {"ply2 anything\nformat ascii 1.0\nend_header\n", 0},
        {"PLY\nformat ascii 1.0\nend_header\n", 2},
        {"pl", 2},
        {"", 3},
        {"ply\nformat ascii\nend_header\n", 3},
        {"ply\nformat\nend_header\n", 3},
        {"ply\n\nend_header\n", 3},
        {"ply\nformat utf8 1.0\nend_header\n", 4},
        {"ply\ncomment first\nformat ascii 1.0\nend_header\n", 4},
        {header("ascii", v + "\nproperty float x\n"), 3},
        {header("ascii", v + "  \t\r\n"), 3},
        {"ply\nformat ascii 1.0\n" + v, 3},  // no end_header
        {header("ascii", "property float x\n"), 6},
        {header("ascii", "Element vertex 1\n"), 5},
        {header("ascii", "element\n"), 5},
        {header("ascii", "element vertex\n"), 5},
        {header("ascii", v + "property\n"), 5},
        {header("ascii", v + "property float\n"), 5},
        {header("ascii", v + "property none x\n"), 7},
        {header("ascii", v + "property list uchar int\n"), 5},
        {header("ascii", v + "property list bogus int v\n"), 7},
        {header("ascii", v + "property list uchar bogus v\n"), 7},
        // 510 characters make one read; the rest of the line is a line of its own.
        {header("ascii", "comment " + std::string(600, 'a') + "\n"), 5},
        {header("ascii", "comment " + std::string(502, 'a') + "\n"), 3},  // leaves a bare "\n"
        {header("ascii", "comment " + std::string(501, 'a') + "\n"), 0},
    };
    for (const auto& [text, code] : cases) EXPECT_EQ(open(text), code) << text.substr(0, 80);
    EXPECT_FALSE(ply.open(dir.file("missing.ply").c_str()));
    EXPECT_EQ(ply.lastError, 1);
}

TEST_F(PlyHeader, FormatCommentsAndBoundedText) {
    ASSERT_EQ(open("ply\nformat binary_big_endian 2.5 x\ncomment made by hand\nobj_info  two spaces\r\n"
                   "element v abc extra\ncomment\nend_header\n"),
              0);
    EXPECT_EQ(ply.comments, (std::vector<std::string>{"made by hand\n", " two spaces\r\n", ""}));
    EXPECT_EQ(ply.format, PlyFormat::BinaryBigEndian);
    EXPECT_FLOAT_EQ(ply.version, 2.5f);
    EXPECT_EQ(ply.elements.at(0).count, 0);  // non-numeric count

    std::string many;
    for (int i = 0; i < 200; ++i) many += "comment line number " + std::to_string(i) + "\n";
    ASSERT_EQ(open(header("ascii", many + "element vertex 2\nproperty float x\n")), 0);
    EXPECT_LT(ply.headerText.size(), PlyFile::kHeaderTextLimit);
    EXPECT_EQ(ply.elements.size(), 1u);
}

TEST_F(PlyHeader, RequestsMustNameTheFileTypesExactly) {
    ASSERT_EQ(open(header("ascii", "element vertex 1\nproperty double x\nproperty float y\n"
                                   "element face 1\nproperty list uchar int vertex_indices\n")),
              0);
    const PlyScalarType F = PlyScalarType::Float, D = PlyScalarType::Double, I = PlyScalarType::Int,
                        UC = PlyScalarType::Uchar, N = PlyScalarType::None, Nine = static_cast<PlyScalarType>(9);
    const char* indices = "vertex_indices";
    // element, property, stored type, memory type, offset, list, allocate, count stored and memory type
    const std::vector<std::pair<PlyPropertyRequest, int>> cases = {
        {{"vertex", "x", F, F, 8}, 11},  // declared double; the table alone would allow it
        {{"vertex", "y", F, D, 8}, 0},
        {{"vertex", "nope", F, F, 8}, 9},
        {{"edge", "y", F, F, 8}, 8},
        {{"vertex", "y", N, F, 8}, 10},
        {{"vertex", "y", F, Nine, 8}, 10},
        {{"face", indices, I, I, 8}, 11},  // list flag differs
        {{"face", indices, I, I, 8, true, false, PlyScalarType::Char, UC}, 11},  // count type differs
        {{"face", indices, I, I, 8, true, false, N, UC}, 10},
        {{"face", indices, I, I, 8, true, false, UC, N}, 10},
        {{"face", indices, PlyScalarType::Uint, I, 8, true, false, UC, UC}, 11},
        {{"face", indices, I, I, 8, true, false, UC, UC}, 0},
    };
    for (const auto& [request, code] : cases) {
        SCOPED_TRACE(request.elementName + "." + request.propertyName);
        EXPECT_EQ(ply.requestProperty(request), code == 0);
        if (code != 0) { EXPECT_EQ(ply.lastError, code); }
    }
    EXPECT_EQ(ply.lastError, 11);  // a success does not reset the last error
    const PlyProperty& y = ply.elements[0].properties[1];
    EXPECT_TRUE(y.stored);
    EXPECT_EQ(y.request.memoryType, PlyScalarType::Double);
    EXPECT_TRUE(y.request.propertyName.empty());  // names are not copied
    EXPECT_FALSE(ply.elements[0].properties[0].stored);
}

}  // namespace
