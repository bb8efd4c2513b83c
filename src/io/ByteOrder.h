// Little-endian loads and stores of the numbers in binary files (STL, 3DS,
// PLY): whatever the machine's own order, a file's bytes mean the same value.
// loadLe64 also serves the text scanner, which looks at eight characters at
// once with the first one in the low byte.
#pragma once

#include <cstdint>
#include <cstring>

namespace KelpIo {

inline std::uint16_t loadLe16(const unsigned char* bytes) {
    return static_cast<std::uint16_t>(bytes[0] | (bytes[1] << 8));
}

inline std::uint32_t loadLe32(const unsigned char* bytes) {
    return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
           static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
}

inline std::uint64_t loadLe64(const unsigned char* bytes) {
    std::uint64_t value;
    std::memcpy(&value, bytes, sizeof value);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    value = __builtin_bswap64(value);
#endif
    return value;
}

inline float loadLeFloat(const unsigned char* bytes) {
    const std::uint32_t bits = loadLe32(bytes);
    float value;
    static_assert(sizeof value == sizeof bits);
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

inline void storeLe32(unsigned char* bytes, std::uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes[i] = static_cast<unsigned char>(value >> (8 * i));
}

inline void storeLeFloat(unsigned char* bytes, float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    storeLe32(bytes, bits);
}

}  // namespace KelpIo
