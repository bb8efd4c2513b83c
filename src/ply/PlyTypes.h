// Codes and tables of the PLY reader: scalar types with their two spellings
// and sizes, the conversions a request may ask for, the data encodings and
// the reader's error codes.
#pragma once

#include <cstddef>

namespace KelpPly {

// Index into the type tables. Requests carry these codes as plain ints so that
// an out-of-range code can be reported (PlyErrorBadTypeCode) rather than
// silently mapped.
enum PlyScalarType : int {
    PlyTypeNone = 0,
    PlyTypeChar = 1,
    PlyTypeShort = 2,
    PlyTypeInt = 3,
    PlyTypeUchar = 4,
    PlyTypeUshort = 5,
    PlyTypeUint = 6,
    PlyTypeFloat = 7,
    PlyTypeDouble = 8,
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

inline constexpr bool isValidRequestType(int code) { return code >= 1 && code <= 8; }
inline constexpr bool isSignedIntegerType(int code) { return code >= 1 && code <= 3; }
inline constexpr bool isIntegerType(int code) { return code >= 1 && code <= 6; }
inline constexpr bool isFloatingType(int code) { return code == 7 || code == 8; }

enum PlyFormat : int {
    PlyFormatUnknown = 0,
    PlyFormatAscii = 1,
    PlyFormatBinaryLittleEndian = 2,
    PlyFormatBinaryBigEndian = 3,
};

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
    PlyErrorConversionRefused = 12,
};

// Type-name lookup of the header: codes 1..8 in order, first name then the
// alternative, exact and case-sensitive. "none" is never accepted; -1 when
// nothing matches.
int plyTypeFromName(const char* token);

}  // namespace KelpPly
