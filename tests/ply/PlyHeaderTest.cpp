#include "ply/PlyFile.h"

#include "PlyTestFiles.h"

#include <gtest/gtest.h>

using KelpPly::PlyFile;
using KelpPly::PlyPropertyRequest;
using KelpPlyTest::header;

namespace {

class PlyHeader : public ::testing::Test {
protected:
    // Opens `text` as a PLY file; returns the error code (0 when it opened).
    int open(const std::string& text) {
        const std::string path = dir.file("h.ply");
        KelpTest::writeFile(path, text);
        ply = PlyFile();
        return ply.open(path.c_str()) == 0 ? 0 : ply.lastError;
    }

    KelpTest::TempDir dir;
    PlyFile ply;
};

TEST_F(PlyHeader, MagicAndFormatLine) {
    EXPECT_EQ(open("ply2 anything\nformat ascii 1.0\nend_header\n"), 0);
    EXPECT_EQ(ply.format, KelpPly::PlyFormatAscii);
    EXPECT_EQ(open("PLY\nformat ascii 1.0\nend_header\n"), 2);
    EXPECT_EQ(open("pl"), 2);
    EXPECT_EQ(open(""), 3);
    EXPECT_EQ(open("ply\n"), 3);

    EXPECT_EQ(open("ply\nformat binary_big_endian 1.0\nend_header\n"), 0);
    EXPECT_EQ(ply.format, KelpPly::PlyFormatBinaryBigEndian);
    EXPECT_FLOAT_EQ(ply.version, 1.0f);
    EXPECT_EQ(open("ply\nformat binary_little_endian 2.5\nend_header\n"), 0);
    EXPECT_EQ(ply.format, KelpPly::PlyFormatBinaryLittleEndian);
    EXPECT_FLOAT_EQ(ply.version, 2.5f);

    EXPECT_EQ(open("ply\nformat ascii\nend_header\n"), 3);
    EXPECT_EQ(open("ply\nformat\nend_header\n"), 3);
    EXPECT_EQ(open("ply\n\nend_header\n"), 3);
    EXPECT_EQ(open("ply\nformat utf8 1.0\nend_header\n"), 4);
    EXPECT_EQ(open("ply\ncomment first\nformat ascii 1.0\nend_header\n"), 4);
}

TEST_F(PlyHeader, LineErrors) {
    EXPECT_EQ(open(header("ascii", "element vertex 1\n\nproperty float x\n")), 3);
    EXPECT_EQ(open(header("ascii", "element vertex 1\n  \t\r\n")), 3);
    EXPECT_EQ(open("ply\nformat ascii 1.0\nelement vertex 1\n"), 3);  // no end_header
    EXPECT_EQ(open(header("ascii", "property float x\n")), 6);
    EXPECT_EQ(open(header("ascii", "elment vertex 1\n")), 5);
    EXPECT_EQ(open(header("ascii", "Element vertex 1\n")), 5);
    EXPECT_EQ(open(header("ascii", "element\n")), 5);
    EXPECT_EQ(open(header("ascii", "element vertex\n")), 5);
    EXPECT_EQ(open(header("ascii", "element vertex 1\nproperty\n")), 5);
    EXPECT_EQ(open(header("ascii", "element vertex 1\nproperty float\n")), 5);
    EXPECT_EQ(open(header("ascii", "element vertex 1\nproperty none x\n")), 7);
    EXPECT_EQ(open(header("ascii", "element vertex 1\nproperty Float x\n")), 7);
    EXPECT_EQ(open(header("ascii", "element f 1\nproperty list uchar\n")), 5);
    EXPECT_EQ(open(header("ascii", "element f 1\nproperty list uchar int\n")), 5);
    EXPECT_EQ(open(header("ascii", "element f 1\nproperty list bogus int v\n")), 7);
    EXPECT_EQ(open(header("ascii", "element f 1\nproperty list uchar bogus v\n")), 7);
    ply = PlyFile();
    EXPECT_EQ(ply.open((dir.file("missing.ply")).c_str()), -1);
    EXPECT_EQ(ply.lastError, 1);
}

TEST_F(PlyHeader, ElementsPropertiesAndTypes) {
    ASSERT_EQ(open(header("binary_little_endian",
                          "element vertex 7 extra tokens\nproperty int32 a\nproperty int b\nproperty float64 c\n"
                          "element face abc\nproperty list uchar int vertex_indices\n"
                          "property list uint8 uint32 other\n")),
              0);
    ASSERT_EQ(ply.elements.size(), 2u);
    const auto& vertex = ply.elements[0];
    EXPECT_EQ(vertex.name, "vertex");
    EXPECT_EQ(vertex.count, 7);
    ASSERT_EQ(vertex.properties.size(), 3u);
    EXPECT_EQ(vertex.properties[0].type, KelpPly::PlyTypeInt);
    EXPECT_EQ(vertex.properties[1].type, KelpPly::PlyTypeInt);
    EXPECT_EQ(vertex.properties[2].type, KelpPly::PlyTypeDouble);
    EXPECT_EQ(vertex.properties[0].isList, 0);
    const auto& face = ply.elements[1];
    EXPECT_EQ(face.count, 0);  // non-numeric count
    EXPECT_EQ(face.properties[0].isList, 1);
    EXPECT_EQ(face.properties[0].countType, KelpPly::PlyTypeUchar);
    EXPECT_EQ(face.properties[0].type, KelpPly::PlyTypeInt);
    EXPECT_EQ(face.properties[1].countType, KelpPly::PlyTypeUchar);
    EXPECT_EQ(face.properties[1].type, KelpPly::PlyTypeUint);
    EXPECT_EQ(ply.findElement("face"), 1);
    EXPECT_EQ(ply.findElement("fac"), -1);
    EXPECT_EQ(PlyFile::findProperty(face, "other"), 1);
    EXPECT_NE(ply.genericRoutine, nullptr);

    for (int code = 1; code <= 8; ++code) {
        EXPECT_EQ(KelpPly::plyTypeFromName(KelpPly::kPlyTypeNames[code]), code);
        EXPECT_EQ(KelpPly::plyTypeFromName(KelpPly::kPlyTypeAltNames[code]), code);
    }
    EXPECT_EQ(KelpPly::plyTypeFromName("none"), -1);
    EXPECT_EQ(KelpPly::plyTypeFromName("int64"), -1);
}

TEST_F(PlyHeader, CommentsAndObjInfoShareOneList) {
    ASSERT_EQ(open(header("ascii", "comment made by hand\nobj_info  two spaces\r\nelement v 0\ncomment\n")), 0);
    ASSERT_EQ(ply.comments.size(), 3u);
    EXPECT_EQ(ply.comments[0], "made by hand\n");
    EXPECT_EQ(ply.comments[1], " two spaces\r\n");
    EXPECT_EQ(ply.comments[2], "");
}

TEST_F(PlyHeader, LongLinesAreReadInPiecesAndTheTextStaysBounded) {
    // 510 characters make one read; the rest of the line is a line of its own.
    EXPECT_EQ(open(header("ascii", "comment " + std::string(600, 'a') + "\n")), 5);
    EXPECT_EQ(open(header("ascii", "comment " + std::string(502, 'a') + "\n")), 3);  // leaves a bare "\n"
    EXPECT_EQ(open(header("ascii", "comment " + std::string(501, 'a') + "\n")), 0);

    std::string many;
    for (int i = 0; i < 200; ++i) many += "comment line number " + std::to_string(i) + "\n";
    ASSERT_EQ(open(header("ascii", many + "element vertex 2\nproperty float x\n")), 0);
    EXPECT_EQ(ply.comments.size(), 200u);
    EXPECT_LT(ply.headerText.size(), PlyFile::kHeaderTextLimit);
    EXPECT_EQ(ply.headerText.compare(0, 4, "ply\n"), 0);
    ASSERT_EQ(ply.elements.size(), 1u);
}

TEST_F(PlyHeader, RequestsMustNameTheFileTypesExactly) {
    ASSERT_EQ(open(header("ascii", "element vertex 1\nproperty double x\nproperty float y\n"
                                   "element face 1\nproperty list uchar int vertex_indices\n")),
              0);
    PlyPropertyRequest r;
    r.elementName = "vertex";
    r.propertyName = "x";
    r.storedType = r.memoryType = KelpPly::PlyTypeFloat;
    EXPECT_EQ(ply.requestProperty(r), -1);
    EXPECT_EQ(ply.lastError, 11);  // declared double; the table alone would allow it

    r.propertyName = "y";
    r.memoryType = KelpPly::PlyTypeDouble;
    r.valueOffset = 8;
    EXPECT_EQ(ply.requestProperty(r), 0);
    const auto& y = ply.elements[0].properties[1];
    EXPECT_EQ(y.stored, 1);
    EXPECT_EQ(y.request.memoryType, KelpPly::PlyTypeDouble);
    EXPECT_EQ(y.request.valueOffset, 8u);
    EXPECT_TRUE(y.request.propertyName.empty());  // names are not copied

    r.propertyName = "nope";
    EXPECT_EQ(ply.requestProperty(r), -1);
    EXPECT_EQ(ply.lastError, 9);
    r.elementName = "edge";
    EXPECT_EQ(ply.requestProperty(r), -1);
    EXPECT_EQ(ply.lastError, 8);

    r.elementName = "vertex";
    r.propertyName = "y";
    r.storedType = 0;
    EXPECT_EQ(ply.requestProperty(r), -1);
    EXPECT_EQ(ply.lastError, 10);
    r.storedType = KelpPly::PlyTypeFloat;
    r.memoryType = 9;
    EXPECT_EQ(ply.requestProperty(r), -1);
    EXPECT_EQ(ply.lastError, 10);
    r.memoryType = KelpPly::PlyTypeFloat;
    r.isList = 1;
    r.countStoredType = r.countMemoryType = KelpPly::PlyTypeUchar;
    EXPECT_EQ(ply.requestProperty(r), -1);
    EXPECT_EQ(ply.lastError, 11);  // list flag differs

    PlyPropertyRequest list;
    list.elementName = "face";
    list.propertyName = "vertex_indices";
    list.storedType = list.memoryType = KelpPly::PlyTypeInt;
    list.isList = 1;
    list.countStoredType = KelpPly::PlyTypeChar;
    list.countMemoryType = KelpPly::PlyTypeChar;
    EXPECT_EQ(ply.requestProperty(list), -1);
    EXPECT_EQ(ply.lastError, 11);  // count type differs
    list.countStoredType = 0;
    EXPECT_EQ(ply.requestProperty(list), -1);
    EXPECT_EQ(ply.lastError, 10);
    list.countStoredType = KelpPly::PlyTypeUchar;
    list.storedType = KelpPly::PlyTypeUint;
    EXPECT_EQ(ply.requestProperty(list), -1);
    EXPECT_EQ(ply.lastError, 11);
    list.storedType = KelpPly::PlyTypeInt;
    EXPECT_EQ(ply.requestProperty(list), 0);
    EXPECT_EQ(ply.lastError, 11);  // a success does not reset the last error
}

}  // namespace
