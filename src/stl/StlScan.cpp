#include "stl/StlScan.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>

namespace KelpStl {

void ScanCursor::skipLine() {
    int c;
    do c = get();
    while (c >= 0 && c != '\n');
}

void ScanCursor::skipSpace() {
    int c;
    do c = get();
    while (c >= 0 && isSpace(c));
    unget(c);
}

bool ScanCursor::skipWord() {
    int c;
    do c = get();
    while (c >= 0 && isSpace(c));
    if (c < 0) return false;
    do c = get();
    while (c >= 0 && !isSpace(c));
    unget(c);
    return true;
}

// Letters that must follow in "nan" or "infinity" (any case). A mismatching
// character is consumed without push-back, as scanf does.
bool ScanCursor::expect(const char* letters) {
    for (; *letters; ++letters) {
        const int c = get();
        if (c < 0 || lower(c) != *letters) return false;
    }
    return true;
}

bool ScanCursor::readFloat(float& value) {
    int c;
    do c = get();
    while (c >= 0 && isSpace(c));
    if (c < 0) return false;
    const char* const begin = cursor_ - 1;

    bool gotSign = false;
    if (c == '-' || c == '+') {
        gotSign = true;
        c = get();
        if (c < 0) return false;
    }
    if (lower(c) == 'n') {
        if (!expect("an")) return false;
        return convert(begin, false, value);
    }
    if (lower(c) == 'i') {
        if (!expect("nf")) return false;
        c = get();
        if (c >= 0) {
            if (lower(c) == 'i') {
                if (!expect("nity")) return false;
            } else {
                unget(c);
            }
        }
        return convert(begin, false, value);
    }

    bool hex = false, gotDigit = false, gotDot = false, gotExponent = false;
    int exponentChar = 'e';
    int previous = 0;  // the last character collected
    if (c == '0') {
        previous = c;
        c = get();
        if (lower(c) == 'x') {
            hex = true;
            exponentChar = 'p';
            previous = c;
            c = get();
        } else {
            gotDigit = true;
        }
    }
    for (;;) {
        if (c >= '0' && c <= '9') {
            gotDigit = true;
        } else if (!gotExponent && hex &&
                   ((c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'))) {
            gotDigit = true;
        } else if (gotExponent && lower(previous) == exponentChar && (c == '-' || c == '+')) {
        } else if (gotDigit && !gotExponent && lower(c) == exponentChar) {
            gotExponent = gotDot = true;
        } else if (!gotDot && c >= 0 && c == static_cast<unsigned char>(decimalPoint_)) {
            gotDot = true;
        } else {
            unget(c);
            break;
        }
        previous = c;
        c = get();
        if (c < 0) break;
    }
    const std::ptrdiff_t collected = cursor_ - begin;
    if (collected == (gotSign ? 1 : 0) || (hex && collected == 2 + (gotSign ? 1 : 0))) return false;
    return convert(begin, !hex, value);
}

// strtof on the collected characters [begin, cursor_); scanf accepts the
// conversion when strtof used at least one of them. Plain decimal text takes
// the from_chars path, which rounds exactly as strtof does.
bool ScanCursor::convert(const char* begin, bool plainDecimal, float& value) {
    const char* const end = cursor_;
    if (plainDecimal && decimalPoint_ == '.') {
        const char* first = *begin == '+' ? begin + 1 : begin;
        float parsed;
        const auto result = std::from_chars(first, end, parsed);
        if (result.ec == std::errc() && result.ptr == end) {
            value = parsed;
            return true;
        }
    }
    scratch_.assign(begin, end);
    char* used = nullptr;
    const int savedErrno = errno;
    const float parsed = std::strtof(scratch_.c_str(), &used);
    errno = savedErrno;
    if (used == scratch_.c_str()) return false;
    value = parsed;
    return true;
}

bool ScanCursor::wordsThenTriple(int words, float (&values)[3]) {
    for (int w = 0; w < words; ++w) {
        if (!skipWord()) return false;
        skipSpace();
    }
    for (float& v : values) {
        if (!readFloat(v)) return false;
        skipSpace();
    }
    return true;
}

}  // namespace KelpStl
