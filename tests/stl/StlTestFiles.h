// Builders for STL test inputs.
#pragma once

#include <KelpCore.h>

#include "support/TestFiles.h"

#include <string>
#include <vector>

namespace StlTest {

using Triangle = std::array<KelpCore::Vec3f, 3>;

// A binary STL whose count field says `count` and which holds `triangles`;
// `normalValue` fills the normals (a negative one puts bytes above 127 in).
inline std::string binaryStl(std::uint32_t count, const std::vector<Triangle>& triangles, float normalValue = 0.0f) {
    std::string bytes(80, 's');
    KelpTest::putU32(bytes, count);
    for (const Triangle& t : triangles) {
        for (int a = 0; a < 3; ++a) KelpTest::putF32(bytes, normalValue);
        for (const auto& corner : t)
            for (float v : corner) KelpTest::putF32(bytes, v);
        KelpTest::putU16(bytes, 0x1234);
    }
    return bytes;
}

inline std::string asciiFacet(const Triangle& t) {
    std::string text = "  facet normal 0 0 1\n    outer loop\n";
    for (const auto& c : t)
        text += "      vertex " + std::to_string(c[0]) + " " + std::to_string(c[1]) + " " + std::to_string(c[2]) + "\n";
    return text + "    endloop\n  endfacet\n";
}

}  // namespace StlTest
