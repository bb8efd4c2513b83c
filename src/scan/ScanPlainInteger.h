// The one-pass path for a number text that is only "-?digits": strtof and
// strtod round its exact value to the nearest representable one, which is
// what the processor's conversion of the 64-bit integer does in the default
// rounding mode, so no decimal scaling is needed.
#pragma once

#include <cstdint>

namespace KelpScan {

// An optional "-" and 1 to 18 digits from `begin`, up to the first other
// byte or `end`: true with their value and `stop` on that byte. False,
// nothing converted, without a digit or with more than 18. The caller
// decides what may follow.
template <typename Real>
inline bool scanPlainInteger(const unsigned char* begin, const unsigned char* end, Real& value,
                             const unsigned char*& stop) {
    const bool negative = begin != end && *begin == '-';
    const unsigned char* const digits = begin + (negative ? 1 : 0);
    const unsigned char* p = digits;
    // Unsigned: a 19th digit, read only to refuse the text, cannot overflow.
    std::uint64_t magnitude = 0;
    for (; p != end && p - digits <= 18; ++p) {
        const unsigned digit = static_cast<unsigned>(*p - '0');
        if (digit > 9) break;
        magnitude = magnitude * 10 + digit;
    }
    if (p == digits || p - digits > 18) return false;
    // "-0" is a negative zero.
    const Real converted = static_cast<Real>(static_cast<std::int64_t>(magnitude));
    value = negative ? -converted : converted;
    stop = p;
    return true;
}

}  // namespace KelpScan
