// PLY test inputs: a header text followed by body bytes.
#pragma once

#include "support/TestFiles.h"

#include <cstdint>
#include <string>

namespace KelpPlyTest {

inline std::string header(const std::string& format, const std::string& declarations) {
    return "ply\nformat " + format + " 1.0\n" + declarations + "end_header\n";
}

// Body bytes, multi-byte values in little-endian order.
struct Bytes {
    std::string data;

    Bytes& u8(unsigned v) {
        data.push_back(static_cast<char>(v & 0xFF));
        return *this;
    }
    Bytes& le(std::uint64_t v, int size) {
        for (int i = 0; i < size; ++i) u8(static_cast<unsigned>(v >> (8 * i)));
        return *this;
    }
    Bytes& i32(std::int32_t v) { return le(static_cast<std::uint32_t>(v), 4); }
    Bytes& f32(float f) {
        KelpTest::putF32(data, f);
        return *this;
    }
};

}  // namespace KelpPlyTest
