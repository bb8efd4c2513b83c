// The pieces of the plain-number path. Decimal digits are taken eight at a
// time: one load and a few multiplies instead of a compare, a branch and a
// multiply-add per digit, whose loop exit mispredicts on every number of a
// varying length.
#pragma once

#include "io/ByteOrder.h"

#include <cstdint>
#include <cstring>

namespace KelpScan {

inline constexpr std::uint64_t kPow10u[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};
inline constexpr double kPow10d[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                     1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

struct DigitRun {
    unsigned length;  // 8 when no byte of the eight ends the run
    std::uint64_t value;
};

// The decimal digits that lead the eight bytes at `p`, all of which must be
// readable.
[[gnu::always_inline]] inline DigitRun digitRun(const unsigned char* p) {
    constexpr std::uint64_t kZeros = 0x3030303030303030u, kHigh = 0x8080808080808080u;
    const std::uint64_t bytes = KelpIo::loadLe64(p);
    // A byte's top bit ends up set when it lies below '0' or above '9'. A
    // borrow or carry only moves into later bytes, and only out of a byte that
    // is not a digit, so the first flagged byte is the first non-digit.
    const std::uint64_t outside = ((bytes + 0x4646464646464646u) | (bytes - kZeros)) & kHigh;
    const unsigned length = outside ? static_cast<unsigned>(__builtin_ctzll(outside)) / 8 : 8;
    if (length == 0) return {0, 0};
    // The digits moved to the high end (leading zeros before them), then
    // combined pairwise: bytes, then 16-bit pairs, then the two halves.
    std::uint64_t digits = (bytes - kZeros) << (64 - 8 * length);
    digits = digits * 10 + (digits >> 8);
    digits = (((digits & 0x000000FF000000FFu) * (100 + (1000000ull << 32))) +
              (((digits >> 16) & 0x000000FF000000FFu) * (1 + (10000ull << 32)))) >>
             32;
    return {length, digits};
}

// A correctly rounded double `scaled` (an exact integer scaled by one exact
// power of ten) stored as `Real`, negated when `negative`. For a float the
// double is rounded again, which is exact unless the double landed exactly on
// a midpoint between two floats (no other float midpoint can lie between the
// value and its nearest double, since midpoints are doubles): false then, and
// past the float range (where strtof's range handling decides).
template <typename Real>
[[gnu::always_inline]] inline bool storeRounded(double scaled, bool negative, Real& value) {
    if constexpr (sizeof(Real) == sizeof(float)) {
        std::uint64_t bits;
        std::memcpy(&bits, &scaled, sizeof bits);
        if ((bits & 0x1FFFFFFFu) == 0x10000000u || scaled > 3.4028234663852886e38) return false;
    }
    // The sign as a bit rather than a branch: signs alternate at random in
    // point data.
    Real rounded = static_cast<Real>(scaled);
    if constexpr (sizeof(Real) == sizeof(float)) {
        std::uint32_t bits;
        std::memcpy(&bits, &rounded, sizeof bits);
        bits |= static_cast<std::uint32_t>(negative) << 31;
        std::memcpy(&rounded, &bits, sizeof bits);
    } else {
        std::uint64_t bits;
        std::memcpy(&bits, &rounded, sizeof bits);
        bits |= static_cast<std::uint64_t>(negative) << 63;
        std::memcpy(&rounded, &bits, sizeof bits);
    }
    value = rounded;
    return true;
}

}  // namespace KelpScan
