// Values compared as their bits, so that not-a-number values and the sign of
// zero compare too.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

namespace KelpTest {

template <typename T>
std::uint64_t bitsOf(T value) {
    static_assert(sizeof(T) <= sizeof(std::uint64_t));
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
}

template <typename T>
bool sameBits(const std::vector<T>& a, const std::vector<T>& b) {
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

}  // namespace KelpTest
