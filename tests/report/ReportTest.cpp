// The call report: per reader, the reason and the notes of its main failure
// and kept-behaviour paths, on files built here.
#include <KelpFileIO.h>

#include "ply/PlyTestFiles.h"
#include "report/ReportCodes.h"
#include "stl/StlReaders.h"
#include "stl/StlTestFiles.h"
#include "support/LocaleGuard.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace {

using KelpPlyTest::Bytes;
using namespace KelpStlTest;

struct Case {
    const char* label;
    std::string bytes;     // the file
    bool result;
    std::string reason;    // expected reason name, "" for none
    std::string text;      // part of the reason's message, or of the first note's text
    std::vector<std::string> notes;
    unsigned count = 0;    // how often the first note fired; 0 when not checked
};

std::vector<std::string> noteNames(const KelpGraphic::KelpReport& report) {
    std::vector<std::string> names;
    for (unsigned i = 0; i < report.noteCount; ++i) names.push_back(report.notes[i].name);
    return names;
}

// Writes each case as `name` and reads it with `read`, then checks the report.
template <typename Container>
void runCases(const char* function, const char* name, bool (*read)(const char*, Container*),
              const std::vector<Case>& cases, void (*prepare)(const KelpTest::TempDir&) = nullptr) {
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        KelpTest::LocaleGuard locale;
        KelpTest::TempDir dir;
        const std::string path = dir.file(name);
        if (prepare) prepare(dir);
        KelpTest::writeFile(path, c.bytes);
        Container container;
        EXPECT_EQ(read(path.c_str(), &container), c.result);
        const KelpGraphic::KelpReport& report = *KelpGraphic::KelpLastReport();
        EXPECT_STREQ(report.function, function);
        EXPECT_EQ(report.path, path);
        EXPECT_EQ(report.result, c.result ? 1 : 0);
        EXPECT_EQ(report.reasonName, c.reason);
        EXPECT_EQ(report.reasonCode != 0, !c.result);
        EXPECT_EQ(noteNames(report), c.notes);
        const std::string where = !c.reason.empty() ? report.reason : report.noteCount ? report.notes[0].text : "";
        EXPECT_NE(where.find(c.text), std::string::npos) << where;
        if (c.count) {
            EXPECT_EQ(report.notes[0].count, c.count);
        }
    }
}

const std::string kFacet = "facet normal 0 0 1\n outer loop\n  vertex 0 0 0\n  vertex 1 0 0\n  vertex 0 1 0\n endloop\nendfacet\n";

TEST(Report, Stl) {
    KELP_REQUIRE_READER_LOCALE();
    runCases<KelpCore::KelpTriMesh>("KelpReadStl", "m.stl", KelpGraphic::KelpReadStl, {
        {"whole binary", binaryStl(2, {kA, kB}), true, "", "", {}},
        {"cut in a normal", binaryStl(10, {kA, kB, kC}) + std::string(5, 1), true, "", "announces 10 triangles, the file holds 3 and 5 bytes; 7 triangles repeat the last corners read in full",
         {"stl.binary.short"}},
        {"cut in the corners", binaryStl(10, {kA, kB, kC}) + std::string(20, 1), true, "", "the file holds 3 and 20 bytes, which end inside the next record's corners",
         {"stl.binary.cut-corners"}},
        {"cut in the count", binaryStl(10, {kA, kB, kC}) + std::string(49, 1), true, "", "the file holds 3 and 49 bytes; 7 triangles", {"stl.binary.short"}},
        {"ascii", std::string("solid a\n") + kFacet + "endsolid\n", true, "", "", {}},
        {"last facet", std::string("solid a\n") + kFacet + kFacet.substr(0, kFacet.size() - 1), true, "", "last facet was dropped",
         {"stl.ascii.last-facet"}},
        {"bad corner", std::string("solid a\n") + kFacet + "facet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex x 0 0\n", false,
         "stl.ascii.corner", "line 12: corner 2 of facet 2", {"locale.left"}},
        {"normal passed over", "solid a\nfacet normal 0 0 x y\n" + kFacet + "endsolid a\n", true, "",
         "line 2: the words there are not a facet's start", {"stl.ascii.words-passed-over"}, 2},
    });
    // Counts this large allocate gigabytes; their notes are checked on their own.
    KelpStl::noteHeaderCount(0x80000000u);
    const KelpGraphic::KelpReport& report = *KelpGraphic::KelpLastReport();
    ASSERT_EQ(report.noteCount, 3u);
    EXPECT_STREQ(report.notes[1].text, "binary STL: the header count 2147483648 is 2^31 or more: no triangle is read, every face has zero corners");
    EXPECT_STREQ(report.notes[2].name, "stl.binary.wrapped-corners");
}

TEST(Report, Asc) {
    runCases<KelpCore::KelpPointSet>("KelpReadAsc", "p.asc", KelpGraphic::KelpReadAsc, {
        {"no final line feed", "1 2 3\n4 5 6", true, "", "", {}},
        {"final line feed", "1 2 3\n", true, "", "appended a second time", {"asc.repeated-last"}},
        {"empty", "", true, "", "one point (0, 0, 0)", {"asc.empty"}},
        {"unreadable coordinate", "1 2 3\n4 x 6\n\n7 8 9", true, "", "line 2: a coordinate does not read", {"asc.stale-coordinate"}, 2},
    });
}

TEST(Report, Dxf) {
    KELP_REQUIRE_READER_LOCALE();
    runCases<KelpCore::KelpPointSet>("KelpReadDxf", "p.dxf", KelpGraphic::KelpReadDxf, {
        {"wrong word", "0\nSECTOIN\n", false, "dxf.header", "expected \"SECTION\", found \"SECTOIN\" (before byte 9)", {"locale.left"}},
        {"ends in header", "0\n", false, "dxf.header", "expected \"SECTION\", found the end of the file", {"locale.left"}},
        {"no entities", "0\nSECTION\n2\nHEADER\n", false, "dxf.no-entities", "file's 19 bytes", {"locale.left"}},
        {"complete", "0\nSECTION\n2\nENTITIES\n0\nPOINT\n10\n1\n20\n2\n30\n3\n0\nENDSEC\n", true, "", "", {}},
        {"no endsec", "0\nSECTION\n2\nENTITIES\n0\nPOINT\n10\n1\n", true, "", "before \"ENDSEC\"", {"dxf.no-endsec"}},
        {"unreadable coordinate", "0\nSECTION\n2\nENTITIES\n0\nPOINT\n10\n1\n20\nabc\n30\n3\n0\nENDSEC\n", true, "",
         "line 10: the value after group \"20\"", {"dxf.stale-coordinate"}},
        {"layer zero", "0\nSECTION\n2\nENTITIES\n0\nPOINT\n8\n0\n10\n1\n0\nPOINT\n8\n0\n0\nENDSEC\n", true, "",
         "line 8: a word \"0\" ends a POINT before any of its coordinates", {"dxf.zero-value"}, 2},
        {"no z", "0\nSECTION\n2\nENTITIES\n0\nPOINT\n10\n1\n20\n2\n30\n3\n0\nPOINT\n10\n4\n20\n5\n0\nENDSEC\n", true, "",
         "line 19: a POINT ends without a value for group \"30\"", {"dxf.missing-coordinates"}},
    });
}

TEST(Report, Ply) {
    using KelpPlyTest::header;
    const std::string vertex = "element vertex 1\nproperty float x\nproperty float y\nproperty float z\n";
    const std::string face = "element face 1\nproperty list uchar int vertex_indices\n";
    const std::string ascii = header("ascii", vertex + face) + "1 2 3\n", le = header("binary_little_endian", vertex + face);
    const std::string oneFace = Bytes().f32(1).f32(2).f32(3).u8(3).i32(0).i32(0).i32(0).data;
    // Count and items of a big-endian int list are taken little-endian.
    const std::string beStrip = Bytes().i32(5).i32(0).i32(1).i32(2).data;
    std::string longFace = "515";
    for (int i = 0; i < 515; ++i) longFace += " 0";
    runCases<KelpCore::KelpTriMesh>("KelpReadPly", "m.ply", KelpGraphic::KelpReadPly, {
        {"not ply", "plx\n", false, "ply.header", "header line 1: the file does not start with \"ply\"", {}},
        {"no end_header", "ply\nformat ascii 1.0\n" + vertex, false, "ply.header", "ends after line 6 without \"end_header\"", {}},
        {"double x", header("ascii", "element vertex 1\nproperty double x\n"), false, "ply.no-positions",
         "property \"x\" is double; the reader takes float", {}},
        {"short indices", header("ascii", vertex + "element face 1\nproperty list ushort int32 vertex_index\n"), false,
         "ply.no-faces", "property \"vertex_index\" is a list of int with a ushort count", {}},
        {"short list", header("ascii", vertex + "element face 1\nproperty list uchar short vertex_indices\n"), false,
         "ply.no-faces", "\"vertex_indices\" is a list of short with a uchar count", {}},
        {"binary ok", le + oneFace, true, "", "", {}},
        {"cut binary", le + oneFace.substr(0, 14), false, "ply.instance", "element \"face\": an instance could not be read at byte", {}},
        {"quad", ascii + "4 0 0 0 0\n", false, "ply.not-triangle", "other than 3 corners", {}},
        {"big endian zero", header("binary_big_endian", vertex + face) + std::string(12, '\0'), false, "ply.instance",
         "a stored int or float of exactly 0", {"ply.big-endian-order"}},
        {"ushort in little endian", header("binary_little_endian", vertex + "property ushort flags\n" + face) +
         oneFace.substr(0, 12) + std::string(2, '\0') + oneFace.substr(12), true, "", "element \"vertex\" were taken big-endian",
         {"ply.little-endian-shorts"}},
        {"big-endian strip past the end", header("binary_big_endian", vertex + "element tristrips 1\nproperty list int int vertex_indices\n") +
         oneFace.substr(0, 12) + beStrip, true, "", "a big-endian list of 5 items ends with the file after 3",
         {"ply.list-past-end", "ply.big-endian-order"}},
        {"face longer than the record", ascii + longFace + "\n", true, "", "a list of 515 items is longer than the load record's 512",
         {"ply.list-cut"}},
        {"vertices without properties", header("ascii", vertex + face + "element vertex 2\n") + "1 2 3\n3 0 0 0\n", true, "",
         "element \"vertex\" has no properties: each of its 2 instances", {"ply.element-without-properties"}},
    });
}

TEST(Report, Wrl) {
    const std::string head = "#VRML V1.0 ascii\n";
    runCases<KelpCore::KelpTriMesh>("KelpReadWrl", "s.wrl", KelpGraphic::KelpReadWrl, {
        {"version 2", "#VRML V2.0 utf8\n", true, "", "not \"#VRML V1.0\"", {"wrl.version"}},
        {"parse error", head + "Separator {\n Coordinate3 { point [ 0 0 0 ] }\n", true, "", "line 4: invalid node syntax", {"wrl.parse"}},
        {"index lists", head + "Separator { IndexedFaceSet { coordIndex [ 0, 1, 2, -1 ] }\n"
                               "IndexedFaceSet { coordIndex [ 0, 1, 2, -1, ] } IndexedFaceSet { coordIndex [ 0, 1, 2, -1 ] } }",
         true, "", "line 2: the number right before \"]\"", {"wrl.last-number"}, 2},
        {"exponent", head + "Separator { Coordinate3 { point [ 1e-5 0 0 ] } }", true, "", "line 2: the number \"1e...\"",
         {"wrl.exponent", "wrl.parse"}},
        {"leading zero", head + "Separator {\n Coordinate3 { point [ 010 0 0, 0 00 0x0 ] } }", true, "",
         "line 3: the number \"010\" starts with 0", {"wrl.leading-zero"}},
        {"quads", head + "Separator { IndexedFaceSet { coordIndex [ 0, 1, 2, -1, 0, 1, 2, 3, -1, ] } }", true, "",
         "item 8 of the coordIndex list ending there is 3, not -1", {"wrl.not-triangles"}},
        {"two top nodes", head + "Separator { }\nSeparator { }\n", true, "", "line 3: the file goes on after its first node",
         {"wrl.first-node-only"}},
    });
}

TEST(Report, T3ds) {
    const auto chunk = KelpTest::chunk3ds;
    const std::string vertices = Bytes().le(5, 2).f32(1).data, percent = Bytes().le(40, 2).data;
    const std::string material = chunk(0x3D3D, chunk(0xAFFF, chunk(0xA020, chunk(0x0030, percent))));
    const std::string shininess = chunk(0x3D3D, chunk(0xAFFF, chunk(0xA040, chunk(0x0010, std::string(12, '\0')))));
    runCases<KelpCore::KelpTriMesh>("KelpRead3ds", "m.3ds", KelpGraphic::KelpRead3ds, {
        {"not main", chunk(0x3D3D, ""), false, "3ds.not-main", "it starts with chunk 0x3D3D", {}},
        {"tiny", "MM", false, "3ds.not-main", "shorter than a chunk header", {}},
        {"cut vertex list", chunk(0x4D4D, chunk(0x3D3D, chunk(0x4000, std::string("a\0", 2) + chunk(0x4100, chunk(0x4110, vertices))))),
         false, "3ds.cut", "file (38 bytes) ends inside a chunk: a read at byte 34 runs past its end", {}},
        {"percentage as colour", chunk(0x4D4D, material), false, "3ds.colour", "chunk 0x0030 at byte 24", {}},
        {"colour as percentage", chunk(0x4D4D, shininess), false, "3ds.percentage", "chunk 0x0010 at byte 24", {}},
    });
}

TEST(Report, Obj) {
    const auto siblings = [](const KelpTest::TempDir& dir) {
        KelpTest::writeFile(dir.file("t.mtl"), "newmtl a\nKd 1 1 1\nmap_Kd tex.gif\n");
        KelpTest::writeFile(dir.file("u.mtl"), "newmtl a\nKd 1 1 1\nmap_Kd gone.png\n");
        KelpTest::writeFile(dir.file("w.mtl"), "newmtl a\nKd 1 1 1\nmap_Kd folder.png\n");
        std::filesystem::create_directory(dir.file("folder.png"));
        std::filesystem::create_directory(dir.file("folder.mtl"));
    };
    runCases<KelpCore::KelpTriMesh>("KelpReadObj", "m.obj", KelpGraphic::KelpReadObj, {
        {"plain", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n", true, "", "", {}},
        {"missing library", "mtllib none.mtl\nv 0 0 0", true, "", "\"none.mtl\" not found", {"obj.mtllib-missing"}, 1},
        {"gif texture", "mtllib t.mtl\nvt 0 0\nv 0 0 0", true, "", "\"tex.gif\" not loaded", {"obj.texture-extension"}, 1},
        {"unreadable texture", "mtllib u.mtl\nvt 0 0\nv 0 0 0", true, "", "\"gone.png\"", {"obj.texture-unreadable"}, 1},
        {"library is a directory", "mtllib folder.mtl\nv 0 0 0", true, "", "\"folder.mtl\" is not a regular file",
         {"obj.mtllib-not-regular"}, 1},
        {"texture is a directory", "mtllib w.mtl\nvt 0 0\nv 0 0 0", true, "", "\"folder.png\" not loaded: not a regular",
         {"obj.texture-not-regular"}, 1},
        {"extra normals", "v 0 0 0\nvn 0 0 1\nvn 0 0 1", true, "", "2 \"vn\" lines for 1 vertices", {"obj.extra-normals"}, 1},
        {"repeated vertex", "v 0 0 0\n", true, "", "after a \"v\" statement", {"obj.repeated-statement"}, 1},
        {"last face", "v 0 0 0\nf 1 1 1\n", true, "", "", {}},
        {"unreadable number", "v 0 0 0\nv 1 x 0\nvt 0 - 5\n", true, "", "line 2: a number of a \"v\" statement",
         {"obj.stale-number"}, 3},
        {"corner without a number", "v 0 0 0\nf 1 1 1\nf 1/ 1/ 1 #\n", true, "", "line 3: a face corner part",
         {"obj.stale-index"}, 3},
        {"long line", "v 0 0 0\n# " + std::string(2045, 'a') + "\n#" + std::string(3000, ' ') + "f 1 1 1\n", true, "",
         "line 3: a line runs on past 2047 bytes", {"obj.long-line"}, 1},
    }, siblings);
}

TEST(Report, Lifecycle) {
    KelpTest::TempDir dir;
    KelpCore::KelpTriMesh mesh;
    KelpCore::KelpPointSet cloud;
    // A successful call replaces the last failure's report completely.
    EXPECT_FALSE(KelpGraphic::KelpWriteStl(dir.file("no/such/dir/out.stl").c_str(), &mesh));
    EXPECT_TRUE(KelpGraphic::KelpWriteAsc(dir.file("a.asc").c_str(), &cloud));
    const KelpGraphic::KelpReport& report = *KelpGraphic::KelpLastReport();
    EXPECT_EQ(report.result, 1);
    EXPECT_EQ(report.reasonCode, 0);
    EXPECT_STREQ(report.reason, "");
    EXPECT_EQ(report.noteCount, 0u);
    EXPECT_FALSE(KelpGraphic::KelpReadAsc(nullptr, &cloud));
    EXPECT_STREQ(KelpGraphic::KelpLastReport()->path, "");
    EXPECT_STREQ(KelpGraphic::KelpLastReport()->reason, "ASC: cannot open the file (no path)");
}

// Every code has one name, a message, and a row in the documentation, and
// every row there a code.
TEST(Report, CodeTableMatchesTheDocumentation) {
    const std::string doc = KelpTest::readFile(KELP_REPORT_DOC);
    std::size_t count = 0;
    const KelpRecord::CodeInfo* table = KelpRecord::codeTable(count);
    std::set<std::string> names;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string name = table[i].name;
        EXPECT_TRUE(names.insert(name).second) << name;
        EXPECT_NE(*table[i].message, '\0') << name;
        const std::string row = "| " + std::to_string(static_cast<int>(table[i].code)) + " | `" + name + "` | " +
                                (KelpRecord::isReason(table[i].code) ? "reason" : "note") + " |";
        EXPECT_NE(doc.find(row), std::string::npos) << row;
    }
    // ... and the documentation has no row of a code the table dropped.
    std::size_t rows = 0;
    for (std::size_t at = doc.find("\n| "); at != std::string::npos; at = doc.find("\n| ", at + 1))
        rows += std::isdigit(static_cast<unsigned char>(doc[at + 3])) ? 1 : 0;
    EXPECT_EQ(rows, count);
}

}  // namespace
