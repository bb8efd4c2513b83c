// Building binary files byte by byte, for the sample generator, the tests and
// the benchmarks. Little-endian unless the name says otherwise.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

namespace KelpSamples {

inline void putU16(std::string& out, std::uint16_t v) {
    out.push_back(static_cast<char>(v & 0xFF));
    out.push_back(static_cast<char>(v >> 8));
}

inline void putU32(std::string& out, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
}

inline void putF32(std::string& out, float f) {
    std::uint32_t bits;
    std::memcpy(&bits, &f, sizeof bits);
    putU32(out, bits);
}

inline void putU32BigEndian(std::string& out, std::uint32_t v) {
    for (int i = 3; i >= 0; --i) out.push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
}

inline void putF32BigEndian(std::string& out, float f) {
    std::uint32_t bits;
    std::memcpy(&bits, &f, sizeof bits);
    putU32BigEndian(out, bits);
}

// A 3DS chunk: 16-bit id, 32-bit length counting the 6 header bytes, content.
inline std::string chunk3ds(std::uint16_t id, const std::string& content) {
    std::string out;
    putU16(out, id);
    putU32(out, static_cast<std::uint32_t>(6 + content.size()));
    return out + content;
}

}  // namespace KelpSamples
