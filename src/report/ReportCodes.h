// The stable codes of the call report: one table row per reason or note with
// its number, name and message template. docs/report.md lists the same rows.
#pragma once

#include <cstdint>

namespace KelpRecord {

// Numbers are stable: never reuse or renumber one, retired ones included. The hundreds name the
// format; below 50 a reason (the call returned false), from 50 a note.
enum class Code : std::uint16_t {
    None = 0,
    Exception = 1,
    LocaleLeft = 51,

    StlOpen = 101,
    StlAsciiCorner = 102,
    StlWriteOpen = 103,
    StlBinaryShort = 151,
    StlBinaryHugeCount = 152,
    StlBinaryWrappedCorners = 153,
    StlAsciiLastFacet = 154,
    StlBinaryCutCorners = 155,
    StlAsciiWordsPassedOver = 156,

    AscOpen = 201,
    AscWriteOpen = 202,
    AscRepeatedLast = 251,
    AscEmpty = 252,
    AscStaleCoordinate = 253,

    DxfOpen = 301,
    DxfHeader = 302,
    DxfNoEntities = 303,
    DxfNoEndsec = 351,
    DxfStaleCoordinate = 352,
    DxfZeroValue = 353,
    DxfMissingCoordinates = 354,

    ObjOpen = 401,
    ObjWriteOpen = 402,
    ObjLibraryMissing = 451,
    ObjTextureExtension = 452,
    ObjTextureUnreadable = 453,
    ObjTextureWithoutVt = 454,
    ObjExtraNormals = 455,
    ObjSideFileMissing = 456,
    ObjRepeatedStatement = 457,
    ObjLibraryNotRegular = 458,
    ObjTextureNotRegular = 459,
    ObjStaleNumber = 460,
    ObjStaleIndex = 461,
    ObjLongLine = 462,

    PlyOpen = 501,
    PlyHeader = 502,
    PlyNoPositions = 503,
    PlyNoFaces = 504,
    PlyInstance = 505,
    PlyNotTriangle = 506,
    PlyOutOfMemory = 507,
    PlyBigEndianOrder = 551,
    PlyLittleEndianShorts = 552,
    PlyListPastEnd = 553,
    PlyListCut = 554,
    PlyElementWithoutProperties = 555,

    WrlOpen = 651,
    WrlVersion = 652,
    WrlParse = 653,
    // 654 (wrl.use-budget) is retired: USE expansion has no budget any more.
    WrlLastNumber = 655,
    WrlExponent = 656,
    WrlLeadingZero = 657,
    WrlNotTriangles = 658,
    WrlFirstNodeOnly = 659,

    T3dsOpen = 701,
    T3dsNotMain = 702,
    T3dsCut = 703,
    T3dsColour = 704,
    T3dsPercentage = 705,
};

struct CodeInfo {
    Code code;
    const char* name;
    // Placeholders: {a} {b} {c} {d} numbers, {x} the number a in hexadecimal,
    // {t} the recorded text, {l} the place "line a", or "byte b" where the
    // line is not known (a = 0).
    const char* message;
};

// The row of `code`; a row with an empty name for a number not in the table.
const CodeInfo& codeInfo(Code code);

// Every row, for documentation and tests.
const CodeInfo* codeTable(std::size_t& count);

inline bool isReason(Code code) { return code != Code::None && static_cast<int>(code) % 100 < 50; }

}  // namespace KelpRecord
