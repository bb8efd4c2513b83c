// The node and field tables of the VRML reader: which fields each known node
// has, how each field's value is read, and the defaults a node starts from.
#pragma once

#include "vrml/VrmlReader.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace KelpVrml {

enum class FieldReader {
    Float,       // SFFloat
    Long,        // SFLong
    Numbers,     // SFVec2f, SFVec3f, SFRotation, SFColor: a fixed count of numbers
    VectorList,  // MFVec3f
    IntList,     // MFLong
    FloatList,   // MFFloat
    StringList,  // MFString
    String,      // SFString
    Bool,        // SFBool
    BitMask,     // SFBitMask
    Enum,        // SFEnum
    Image,       // SFImage
    Matrix,      // SFMatrix
};

struct VrmlFieldLayout {
    int code;
    FieldReader reader;
    int arity;               // numbers read by FieldReader::Numbers
    int defaultCount;        // values in `defaults`, 0 when the node gives none
    float defaults[4];       // float defaults
    std::int32_t wordDefault;  // default of an integer, enum word or index list
};

struct VrmlNodeLayout {
    int code;
    const char* syntaxMessage;
    const VrmlFieldLayout* fields;
    int fieldCount;
    bool group;         // collects child nodes beside its fields
    bool stridedIndex;  // index lists keep three numbers of every four
    bool keepsNothing;  // reads its fields but records no type and no fields
};

// Keyword codes run from the first to the last of these.
inline constexpr int kFirstKeyword = 1000;
inline constexpr int kLastKeyword = 1136;

// The layout of a node keyword that has a parser, or null.
const VrmlNodeLayout* nodeLayoutFor(int code);
// The index of the field `code` in the node's layout, or -1.
int findField(const VrmlNodeLayout& layout, int code);
// The node's fields as it allocates them before reading.
std::vector<VrmlField> defaultFields(const VrmlNodeLayout& layout);

inline std::uint32_t floatBits(float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// Integer fields truncate the float value; out of range the result is the
// one the processor's truncating conversion gives (INT_MIN).
inline std::int32_t truncateToInt(float value) {
    if (value >= -2147483648.0f && value < 2147483648.0f) return static_cast<std::int32_t>(value);
    return std::numeric_limits<std::int32_t>::min();
}

inline int clampedCount(std::size_t size) {
    return size > static_cast<std::size_t>(std::numeric_limits<int>::max()) ? std::numeric_limits<int>::max()
                                                                              : static_cast<int>(size);
}

}  // namespace KelpVrml
