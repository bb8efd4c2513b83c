#include "report/ReportCodes.h"

#include <iterator>

namespace KelpRecord {

namespace {
// Reasons name the place of the failure; notes say what the kept behaviour
// did to the result.
const CodeInfo kTable[] = {
    {Code::Exception, "call.exception", "the call ended by an exception (out of memory?); the container may hold part of the result"},
    {Code::LocaleLeft, "locale.left", "locale left at \"Chinese-simplified\""},

    {Code::StlOpen, "stl.open", "STL: cannot open the file ({t})"},
    {Code::StlAsciiCorner, "stl.ascii.corner",
     "ASCII STL: line {a}: corner {b} of facet {c} does not parse after its normal did; the mesh is left as it was"},
    {Code::StlWriteOpen, "stl.write.open", "STL: cannot create the file ({t})"},
    {Code::StlBinaryShort, "stl.binary.short",
     "binary STL: the header announces {a} triangles, the file holds {b} and {c} bytes; {d} triangles repeat the last corners read in full"},
    {Code::StlBinaryCutCorners, "stl.binary.cut-corners",
     "binary STL: the header announces {a} triangles, the file holds {b} and {c} bytes, which end inside the next "
     "record's corners: the corner bytes that came replace the start of the previous triangle's (zeros before the "
     "first), and {d} triangles repeat that mix"},
    {Code::StlBinaryHugeCount, "stl.binary.huge-count",
     "binary STL: the header count {a} is 2^31 or more: no triangle is read, every face has zero corners"},
    {Code::StlBinaryWrappedCorners, "stl.binary.wrapped-corners",
     "binary STL: 3 x {a} corners wrap in 32 bits: only {b} are welded, the other corners name vertex 4294967295"},
    {Code::StlAsciiLastFacet, "stl.ascii.last-facet",
     "ASCII STL: the last facet was dropped (the file ends right after its last word, with no line end)"},
    {Code::StlAsciiWordsPassedOver, "stl.ascii.words-passed-over",
     "ASCII STL: {l}: the words there are not a facet's start (two words and a normal of three numbers): text is "
     "passed over two words at a time until a facet's normal parses"},

    {Code::AscOpen, "asc.open", "ASC: cannot open the file ({t})"},
    {Code::AscWriteOpen, "asc.write.open", "ASC: cannot create the file ({t})"},
    {Code::AscRepeatedLast, "asc.repeated-last",
     "ASC: the file ends with a line feed: its last point is appended a second time"},
    {Code::AscEmpty, "asc.empty", "ASC: the file is empty: one point (0, 0, 0) is appended"},
    {Code::AscStaleCoordinate, "asc.stale-coordinate",
     "ASC: {l}: a coordinate does not read as a number (or the line has fewer than three): the point keeps the "
     "value the line before left (0 before the first)"},

    {Code::DxfOpen, "dxf.open", "DXF: cannot open the file ({t})"},
    {Code::DxfHeader, "dxf.header",
     "DXF: the file must start with the words \"0\", \"SECTION\", \"2\": {t} (before byte {a})"},
    {Code::DxfNoEntities, "dxf.no-entities", "DXF: no \"ENTITIES\" word in the file's {a} bytes"},
    {Code::DxfNoEndsec, "dxf.no-endsec", "DXF: the file ends before \"ENDSEC\" (inside the entities or a POINT); read as if it were there"},
    {Code::DxfStaleCoordinate, "dxf.stale-coordinate",
     "DXF: {l}: the value after group \"{t}\" does not read as a number: the coordinate keeps its value from before, "
     "and the word is read again as the next word"},
    {Code::DxfZeroValue, "dxf.zero-value",
     "DXF: {l}: a word \"0\" ends a POINT before any of its coordinates (a group value \"0\", such as the layer "
     "\"0\", written before them): the point is appended with the coordinates held before, and the rest of the "
     "entity is passed over"},
    {Code::DxfMissingCoordinates, "dxf.missing-coordinates",
     "DXF: {l}: a POINT ends without a value for group {t}: those coordinates keep their values from the point "
     "before (0 before the first)"},

    {Code::ObjOpen, "obj.open", "OBJ: cannot open the file ({t})"},
    {Code::ObjWriteOpen, "obj.write.open", "OBJ: cannot create the file ({t})"},
    {Code::ObjLibraryMissing, "obj.mtllib-missing", "OBJ: material library \"{t}\" not found"},
    {Code::ObjTextureExtension, "obj.texture-extension",
     "OBJ: texture \"{t}\" not loaded: the characters after its first '.' are not JPG, BMP, PNG or TIF"},
    {Code::ObjTextureUnreadable, "obj.texture-unreadable", "OBJ: texture \"{t}\" not loaded: the image could not be read"},
    {Code::ObjTextureWithoutVt, "obj.texture-without-vt", "OBJ: the texture was dropped: the file has no \"vt\" lines"},
    {Code::ObjExtraNormals, "obj.extra-normals", "OBJ: {a} \"vn\" lines for {b} vertices: the extra normals are dropped"},
    {Code::ObjRepeatedStatement, "obj.repeated-statement",
     "OBJ: the file ends in white space after a \"{t}\" statement: it runs once more, adding a copy of the last \"{t}\""},
    {Code::ObjLibraryNotRegular, "obj.mtllib-not-regular",
     "OBJ: material library \"{t}\" is not a regular file (a directory, device or pipe): read as missing"},
    {Code::ObjTextureNotRegular, "obj.texture-not-regular",
     "OBJ: texture \"{t}\" not loaded: not a regular file (a directory, device or pipe)"},
    {Code::ObjSideFileMissing, "obj.side-file-missing",
     "OBJ: side file \"{t}\" could not be written (side files are named with only '\\' as a separator)"},
    {Code::ObjStaleNumber, "obj.stale-number",
     "OBJ: {l}: a number of a \"{t}\" statement does not read there: the value read before is kept"},
    {Code::ObjStaleIndex, "obj.stale-index",
     "OBJ: {l}: a face corner part without a number (as in \"3/\", or a word after the corners) records the last "
     "index read again"},
    {Code::ObjLongLine, "obj.long-line",
     "OBJ: {l}: a line runs on past 2047 bytes after its statement word: the rest is read as further statements"},

    {Code::PlyOpen, "ply.open", "PLY: cannot open the file ({t})"},
    {Code::PlyHeader, "ply.header", "PLY: {t}"},
    {Code::PlyNoPositions, "ply.no-positions", "PLY: {t}"},
    {Code::PlyNoFaces, "ply.no-faces", "PLY: {t}"},
    {Code::PlyInstance, "ply.instance", "PLY: {t}"},
    {Code::PlyNotTriangle, "ply.not-triangle", "PLY: {t}"},
    {Code::PlyOutOfMemory, "ply.out-of-memory",
     "PLY: out of memory before byte {a}: the counts the file announces do not fit; what was appended stays"},
    {Code::PlyBigEndianOrder, "ply.big-endian-order",
     "PLY: binary_big_endian: int, float and double values were taken little-endian, and a stored 0 of those types fails the read"},
    {Code::PlyLittleEndianShorts, "ply.little-endian-shorts",
     "PLY: binary_little_endian: the short, ushort and uint values of element \"{t}\" were taken big-endian"},
    {Code::PlyListPastEnd, "ply.list-past-end",
     "PLY: byte {a}: a big-endian list of {b} items ends with the file after {c}: the missing items read as 0"},
    {Code::PlyListCut, "ply.list-cut",
     "PLY: byte {a}: a list of {b} items is longer than the load record's {c}: the rest are read and dropped"},
    {Code::PlyElementWithoutProperties, "ply.element-without-properties",
     "PLY: element \"{t}\" has no properties: each of its {a} instances appends the last one read again (zeros before the first)"},

    {Code::WrlOpen, "wrl.open", "VRML: cannot open the file ({t}); nothing added"},
    {Code::WrlVersion, "wrl.version", "VRML: the first line is not \"#VRML V1.0\"; nothing added"},
    {Code::WrlParse, "wrl.parse", "VRML: {t}; nothing added"},
    {Code::WrlLastNumber, "wrl.last-number",
     "VRML: line {a}: the number right before \"]\" of an index list is not read (end the list with \"-1, ]\" or its last triangle is lost)"},
    {Code::WrlExponent, "wrl.exponent",
     "VRML: line {a}: the number \"{t}\" has an exponent: it reads as the number before the \"e\", a word and "
     "another number"},
    {Code::WrlLeadingZero, "wrl.leading-zero",
     "VRML: line {a}: the number \"{t}\" starts with 0 and has no point: it is read as octal (hexadecimal after "
     "\"0x\") and its bits stored as a float (a tiny value; 0 as an index)"},
    {Code::WrlNotTriangles, "wrl.not-triangles",
     "VRML: line {a}: item {b} of the coordIndex list ending there is {t}, not -1: the list is read as triangles "
     "each followed by -1 (every fourth item dropped), so its other polygons come out scrambled"},
    {Code::WrlFirstNodeOnly, "wrl.first-node-only",
     "VRML: line {a}: the file goes on after its first node: only that node is read"},

    {Code::T3dsOpen, "3ds.open", "3DS: cannot open the file ({t})"},
    {Code::T3dsNotMain, "3ds.not-main", "3DS: the file does not start with a main chunk (0x4D4D): {t}"},
    {Code::T3dsCut, "3ds.cut", "3DS: the file ({b} bytes) ends inside a chunk: a read at byte {a} runs past its end"},
    {Code::T3dsColour, "3ds.colour", "3DS: chunk 0x{x} at byte {b} where a colour (0x0010 or 0x0011) must be"},
    {Code::T3dsPercentage, "3ds.percentage", "3DS: chunk 0x{x} at byte {b} where a percentage (0x0030 or 0x0031) must be"},
};

const CodeInfo kUnknown = {Code::None, "", ""};
}  // namespace

const CodeInfo& codeInfo(Code code) {
    for (const CodeInfo& row : kTable)
        if (row.code == code) return row;
    return kUnknown;
}

const CodeInfo* codeTable(std::size_t& count) {
    count = std::size(kTable);
    return kTable;
}

}  // namespace KelpRecord
