// The parts of the C locale that the scanning functions consult: which bytes
// are white space (isspace) and the decimal point of a floating-point number.
// Taken once, when a scan starts, as the stdio calls would see them then.
#pragma once

#include <cstddef>

namespace KelpScan {

struct ScanLocale {
    bool space[256] = {};
    // The decimal point as the locale spells it (a few bytes at most).
    char decimalPoint[8] = {'.', 0};
    std::size_t decimalLength = 1;
    // True when the point is the single byte '.', which the fast paths need.
    bool plainPoint = true;

    bool isSpace(unsigned char c) const { return space[c]; }

    // The locale in force now (setlocale's LC_CTYPE and LC_NUMERIC).
    static ScanLocale current();
    // The "C" locale, whatever is in force: what stream extraction uses.
    static const ScanLocale& classic();
};

}  // namespace KelpScan
