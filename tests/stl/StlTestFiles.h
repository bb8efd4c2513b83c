// Binary STL test inputs: records of three corners, behind a header and a count.
#pragma once

#include "support/TestFiles.h"

#include <KelpCore.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace KelpStlTest {

using KelpCore::Vec3f;
using Triangle = std::array<Vec3f, 3>;

inline const Triangle kA{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}};  // 1.0f is 00 00 80 3F
inline const Triangle kB{{{1, 0, 0}, {1, 1, 0}, {0, 1, 0}}};
inline const Triangle kC{{{5, 5, 5}, {6, 5, 5}, {5, 6, 5}}};
// Float bytes all below 128: only the size test can make such a file binary.
inline const Triangle kLow{{{0, 0, 0}, {2, 0, 0}, {0, 2, 0}}};

// One binary record: a zero normal, the corners, the attribute count.
inline std::string record(const Triangle& corners, std::uint16_t attribute = 0) {
    std::string bytes(12, '\0');
    for (const Vec3f& c : corners)
        for (float v : c) KelpTest::putF32(bytes, v);
    KelpTest::putU16(bytes, attribute);
    return bytes;
}

// A binary STL whose count field says `count` and which holds `triangles`.
inline std::string binaryStl(std::uint32_t count, const std::vector<Triangle>& triangles, char header = 's') {
    std::string bytes(80, header);
    KelpTest::putU32(bytes, count);
    for (const Triangle& t : triangles) bytes += record(t, 0x1234);
    return bytes;
}

}  // namespace KelpStlTest
