// Codes and tables of the PLY reader: scalar types with their two spellings
// and sizes, the conversions a request may ask for, the data encodings and
// the reader's error codes.
#pragma once

#include <cstddef>

namespace KelpPly {

// Index into the type tables (plyTypeIndex). Requests may carry a code
// outside 1..8, which is reported (PlyErrorBadTypeCode) rather than mapped.
enum class PlyScalarType : int {
    None = 0,
    Char = 1,
    Short = 2,
    Int = 3,
    Uchar = 4,
    Ushort = 5,
    Uint = 6,
    Float = 7,
    Double = 8,
};

inline constexpr int kPlyTypeCount = 9;

inline constexpr const char* kPlyTypeNames[kPlyTypeCount] = {"none",  "char",   "short", "int",   "uchar",
                                                             "ushort", "uint", "float", "double"};
inline constexpr const char* kPlyTypeAltNames[kPlyTypeCount] = {"none",   "int8",   "int16",   "int32",  "uint8",
                                                                "uint16", "uint32", "float32", "float64"};
inline constexpr int kPlyTypeSizes[kPlyTypeCount] = {0, 1, 2, 4, 1, 2, 4, 4, 8};

// [declared in the file][requested]: 1 where the request may convert.
inline constexpr unsigned char kPlyConversionAllowed[kPlyTypeCount][kPlyTypeCount] = {
    {0, 0, 0, 0, 0, 0, 0, 0, 0},  // none
    {0, 1, 1, 1, 1, 1, 1, 0, 0},  // char
    {0, 0, 1, 1, 0, 1, 1, 0, 0},  // short
    {0, 0, 0, 1, 0, 0, 1, 0, 0},  // int
    {0, 1, 1, 1, 1, 1, 1, 0, 0},  // uchar
    {0, 0, 1, 1, 0, 1, 1, 0, 0},  // ushort
    {0, 0, 0, 1, 0, 0, 1, 0, 0},  // uint
    {0, 0, 0, 0, 0, 0, 0, 1, 1},  // float
    {0, 0, 0, 0, 0, 0, 0, 1, 1},  // double
};

// A request must name the file's own type, and the table lets every type
// convert to itself: the table never refuses a request that got that far.
constexpr bool everyTypeConvertsToItself() {
    for (int code = 1; code < kPlyTypeCount; ++code)
        if (!kPlyConversionAllowed[code][code]) return false;
    return true;
}
static_assert(everyTypeConvertsToItself(), "requests are checked against the file's own types only");

// The row of a code in the tables; only for codes in 0..8.
inline constexpr int plyTypeIndex(PlyScalarType type) { return static_cast<int>(type); }
inline constexpr int plyTypeSize(PlyScalarType type) { return kPlyTypeSizes[plyTypeIndex(type)]; }
inline constexpr const char* plyTypeName(PlyScalarType type) { return kPlyTypeNames[plyTypeIndex(type)]; }

inline constexpr bool isValidRequestType(PlyScalarType type) {
    return plyTypeIndex(type) >= 1 && plyTypeIndex(type) <= 8;
}
inline constexpr bool isIntegerType(PlyScalarType type) {
    return plyTypeIndex(type) >= 1 && plyTypeIndex(type) <= 6;
}
inline constexpr bool isFloatingType(PlyScalarType type) {
    return type == PlyScalarType::Float || type == PlyScalarType::Double;
}

enum class PlyFormat : int {
    Unknown = 0,
    Ascii = 1,
    BinaryLittleEndian = 2,
    BinaryBigEndian = 3,
};

inline constexpr bool isBinaryFormat(PlyFormat format) {
    return format == PlyFormat::BinaryLittleEndian || format == PlyFormat::BinaryBigEndian;
}

enum PlyError : int {
    PlyErrorNone = 0,
    PlyErrorCannotOpen = 1,
    PlyErrorNotPly = 2,
    PlyErrorMissingLine = 3,
    PlyErrorBadFormatLine = 4,
    PlyErrorSyntax = 5,
    PlyErrorPropertyBeforeElement = 6,
    PlyErrorUnknownType = 7,
    PlyErrorNoSuchElement = 8,
    PlyErrorNoSuchProperty = 9,
    PlyErrorBadTypeCode = 10,
    PlyErrorRequestMismatch = 11,
    PlyErrorConversionRefused = 12,  // never given: see checkRequest
};

// Type-name lookup of the header: codes 1..8 in order, first name then the
// alternative, exact and case-sensitive. "none" is never accepted: None when
// nothing matches.
PlyScalarType plyTypeFromName(const char* token);

}  // namespace KelpPly
