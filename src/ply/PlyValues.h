// Value handling shared by the per-property routines and the whole-instance
// decoders: loading a declared type from file bytes under the reader's
// byte-order rule, and storing a value converted to a memory type.
//
// The byte-order rule is the reader's own and is kept as hosts depend on it,
// although it follows neither byte order consistently:
//
//   declared type    binary_little_endian   binary_big_endian
//   char, uchar      as read                as read
//   short, ushort    bytes reversed         as read
//   uint             bytes reversed         as read
//   int, float       as read                as read
//   double           as read                as read
//
// "As read" means taken in the machine's (little-endian) order. Success: a
// read counts when all its bytes arrived, except that under
// binary_big_endian a stored int or float scalar (and an int list count)
// counts only when its four bytes are not all zero, and int and float list
// items are not checked at all.
#pragma once

#include "ply/PlyTypes.h"

#include <cmath>
#include <cstdint>
#include <cstring>

namespace KelpPly {

// A value by number: integers exactly (sign- or zero-widened), reals as double.
struct PlyNumber {
    std::int64_t integer = 0;
    double real = 0.0;
    bool isReal = false;
};

inline bool bytesReversed(int declaredType, int format) {
    return format == PlyFormatBinaryLittleEndian &&
           (declaredType == PlyTypeShort || declaredType == PlyTypeUshort || declaredType == PlyTypeUint);
}

// Whether the stricter "not all zero" success rule applies to a scalar.
inline bool zeroMeansFailure(int declaredType, int format) {
    return format == PlyFormatBinaryBigEndian && (declaredType == PlyTypeInt || declaredType == PlyTypeFloat);
}

// Whether a short read of a list item fails the list: under binary_big_endian
// int and float items are not checked at all.
inline bool listItemsChecked(int declaredType, int format) {
    return !(format == PlyFormatBinaryBigEndian && (declaredType == PlyTypeInt || declaredType == PlyTypeFloat));
}

inline bool allZero(const unsigned char* bytes, int size) {
    for (int i = 0; i < size; ++i)
        if (bytes[i]) return false;
    return true;
}

inline std::uint64_t assemble(const unsigned char* bytes, int size, bool reversed) {
    std::uint64_t bits = 0;
    if (reversed)
        for (int i = 0; i < size; ++i) bits = (bits << 8) | bytes[i];
    else
        for (int i = size - 1; i >= 0; --i) bits = (bits << 8) | bytes[i];
    return bits;
}

inline PlyNumber loadNumber(int declaredType, const unsigned char* bytes, int format) {
    const int size = kPlyTypeSizes[declaredType];
    const std::uint64_t bits = assemble(bytes, size, bytesReversed(declaredType, format));
    PlyNumber n;
    switch (declaredType) {
    case PlyTypeChar: n.integer = static_cast<std::int8_t>(bits); break;
    case PlyTypeShort: n.integer = static_cast<std::int16_t>(bits); break;
    case PlyTypeInt: n.integer = static_cast<std::int32_t>(bits); break;
    case PlyTypeUchar:
    case PlyTypeUshort:
    case PlyTypeUint: n.integer = static_cast<std::int64_t>(bits); break;
    case PlyTypeFloat: {
        const std::uint32_t word = static_cast<std::uint32_t>(bits);
        float f;
        std::memcpy(&f, &word, sizeof f);
        n.real = f;
        n.isReal = true;
        break;
    }
    case PlyTypeDouble: {
        double d;
        std::memcpy(&d, &bits, sizeof d);
        n.real = d;
        n.isReal = true;
        break;
    }
    default: break;
    }
    return n;
}

// Real to integer by value; what cannot be represented becomes the
// "indefinite" value the processor itself produces.
inline std::int64_t realToInteger(double value) {
    if (!(value >= -9223372036854775808.0 && value < 9223372036854775808.0)) return INT64_MIN;
    return static_cast<std::int64_t>(value);
}

// Stores `n` converted to `memoryType` at `target` (machine order). Memory
// types 1/4, 2/5 and 3/6 share a store: the value's low bytes.
inline void storeNumber(int memoryType, unsigned char* target, const PlyNumber& n) {
    switch (memoryType) {
    case PlyTypeChar:
    case PlyTypeUchar:
    case PlyTypeShort:
    case PlyTypeUshort:
    case PlyTypeInt:
    case PlyTypeUint: {
        const std::int64_t value = n.isReal ? realToInteger(n.real) : n.integer;
        const int size = kPlyTypeSizes[memoryType];
        if (size == 1) {
            const std::uint8_t v = static_cast<std::uint8_t>(value);
            std::memcpy(target, &v, 1);
        } else if (size == 2) {
            const std::uint16_t v = static_cast<std::uint16_t>(value);
            std::memcpy(target, &v, 2);
        } else {
            const std::uint32_t v = static_cast<std::uint32_t>(value);
            std::memcpy(target, &v, 4);
        }
        break;
    }
    case PlyTypeFloat: {
        const float v = n.isReal ? static_cast<float>(n.real) : static_cast<float>(n.integer);
        std::memcpy(target, &v, sizeof v);
        break;
    }
    case PlyTypeDouble: {
        const double v = n.isReal ? n.real : static_cast<double>(n.integer);
        std::memcpy(target, &v, sizeof v);
        break;
    }
    default: break;
    }
}

}  // namespace KelpPly
