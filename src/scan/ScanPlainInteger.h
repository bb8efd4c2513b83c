// The one-pass path for a number text that is only "-?digits": strtof and
// strtod round its exact value to the nearest representable one, which is
// what the processor's conversion of the 64-bit integer does in the default
// rounding mode, so no decimal scaling is needed.
#pragma once

#include <cstdint>

namespace KelpScan {

// True with `value` when [begin, end) is exactly an optional "-" and 1 to
// 18 digits; false, nothing converted, for anything else.
template <typename Real>
inline bool convertPlainInteger(const unsigned char* begin, const unsigned char* end, Real& value) {
    const bool negative = begin != end && *begin == '-';
    const unsigned char* p = begin + (negative ? 1 : 0);
    if (p == end || end - p > 18) return false;
    std::int64_t magnitude = 0;
    for (; p != end; ++p) {
        const unsigned digit = static_cast<unsigned>(*p - '0');
        if (digit > 9) return false;
        magnitude = magnitude * 10 + digit;
    }
    // "-0" is a negative zero.
    const Real converted = static_cast<Real>(magnitude);
    value = negative ? -converted : converted;
    return true;
}

}  // namespace KelpScan
