#include "obj/ObjStream.h"

#include "platform/CFloat.h"

#include <cctype>
#include <charconv>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <system_error>

namespace KelpObj {

namespace {
int lowerAscii(int c) { return (c >= 'A' && c <= 'Z') ? c + ('a' - 'A') : c; }
bool isDigit(int c) { return c >= '0' && c <= '9'; }
bool isHexDigit(int c) { return isDigit(c) || (lowerAscii(c) >= 'a' && lowerAscii(c) <= 'f'); }

// strtof under the "C" locale, for the rare spellings that to_chars' partner
// does not take (hexadecimal) or rejects as out of range (where strtof gives
// infinity or a rounded zero).
bool convertWithStrtof(const char* begin, const char* end, char decimalPoint, float& value) {
    std::string text(begin, end);
    if (decimalPoint != '.')
        for (char& c : text)
            if (c == decimalPoint) c = '.';
    char* used = nullptr;
    const float converted = KelpPlatform::strtofC(text.c_str(), &used);
    if (used == text.c_str()) return false;
    value = converted;
    return true;
}
}  // namespace

ObjStream::ObjStream(const char* begin, const char* end) : begin_(begin), pos_(begin), end_(end) {
    for (int c = 0; c < 256; ++c) space_[c] = std::isspace(c) != 0;
    const char* point = std::localeconv()->decimal_point;
    if (point && point[0] != '\0' && point[1] == '\0') decimalPoint_ = point[0];
}

bool ObjStream::readWord(const char*& wordBegin, const char*& wordEnd) {
    while (pos_ != end_ && space_[static_cast<unsigned char>(*pos_)]) ++pos_;
    if (pos_ == end_) {
        eof_ = true;
        return false;
    }
    wordBegin = pos_;
    while (pos_ != end_ && !space_[static_cast<unsigned char>(*pos_)]) ++pos_;
    if (pos_ == end_) eof_ = true;  // the word ran into the end of the input
    wordEnd = pos_;
    return true;
}

bool ObjStream::readLine(std::size_t capacity, const char*& lineBegin, const char*& lineEnd) {
    if (capacity < 2) return false;
    if (pos_ == end_) {
        eof_ = true;
        return false;
    }
    const std::size_t room = capacity - 1;
    const std::size_t left = static_cast<std::size_t>(end_ - pos_);
    const std::size_t span = left < room ? left : room;
    const void* feed = std::memchr(pos_, '\n', span);
    lineBegin = pos_;
    if (feed) {
        pos_ = static_cast<const char*>(feed) + 1;
    } else {
        pos_ += span;
        if (span < room) eof_ = true;  // stopped by the end, not by the buffer
    }
    lineEnd = pos_;
    return true;
}

bool ObjStream::matchLetters(const char* lower) {
    // A mismatching character is consumed and lost, as in scanf.
    for (; *lower; ++lower) {
        const int c = get();
        if (c == kEnd || lowerAscii(c) != *lower) return false;
    }
    return true;
}

bool ObjStream::readFloat(float& value) {
    int c;
    do {
        c = get();
    } while (c != kEnd && space_[c]);
    if (c == kEnd) return false;

    const char* const start = pos_ - 1;
    bool negative = false;
    if (c == '+' || c == '-') {
        negative = c == '-';
        c = get();
        if (c == kEnd) return false;
    }

    if (lowerAscii(c) == 'n') {
        if (!matchLetters("an")) return false;
        const float nan = std::numeric_limits<float>::quiet_NaN();
        value = negative ? -nan : nan;
        return true;
    }
    if (lowerAscii(c) == 'i') {
        if (!matchLetters("nf")) return false;
        const int next = get();
        if (next != kEnd && lowerAscii(next) == 'i') {
            if (!matchLetters("nity")) return false;
        } else {
            unget(next);
        }
        const float inf = std::numeric_limits<float>::infinity();
        value = negative ? -inf : inf;
        return true;
    }

    bool hex = false, gotDigit = false, gotDot = false, gotExponent = false;
    if (c == '0') {
        c = get();
        if (c != kEnd && lowerAscii(c) == 'x') {
            hex = true;
            c = get();
        } else {
            gotDigit = true;
        }
    }
    const int exponentChar = hex ? 'p' : 'e';
    while (c != kEnd) {
        if (isDigit(c) || (hex && !gotExponent && isHexDigit(c))) {
            gotDigit = true;
        } else if (gotExponent && lowerAscii(static_cast<unsigned char>(pos_[-2])) == exponentChar &&
                   (c == '+' || c == '-')) {
            // the exponent's sign
        } else if (gotDigit && !gotExponent && lowerAscii(c) == exponentChar) {
            gotExponent = gotDot = true;
        } else if (!gotDot && c == static_cast<unsigned char>(decimalPoint_)) {
            gotDot = true;
        } else {
            unget(c);
            break;
        }
        c = get();
    }

    // The characters taken are exactly [start, pos_): scanf's own buffer.
    const char* const numberEnd = pos_;
    const char* const unsignedStart = (*start == '+' || *start == '-') ? start + 1 : start;
    if (hex) {
        if (numberEnd - unsignedStart == 2) return false;  // "0x" and nothing after
        return convertWithStrtof(start, numberEnd, decimalPoint_, value);
    }
    if (decimalPoint_ != '.') return convertWithStrtof(start, numberEnd, decimalPoint_, value);

    float converted = 0.0f;
    const char* first = negative ? start : unsignedStart;  // from_chars takes '-' but not '+'
    const auto result = std::from_chars(first, numberEnd, converted, std::chars_format::general);
    if (result.ec == std::errc()) {
        value = converted;
        return true;
    }
    if (result.ec == std::errc::result_out_of_range) return convertWithStrtof(start, numberEnd, '.', value);
    return false;
}

bool scanDecimalInt(const char* begin, const char* end, std::int32_t& value) {
    const char* p = begin;
    bool negative = false;
    if (p != end && (*p == '+' || *p == '-')) {
        negative = *p == '-';
        ++p;
    }
    if (p == end || !isDigit(static_cast<unsigned char>(*p))) return false;
    // strtol into a 64-bit long: saturates at LONG_MAX / LONG_MIN.
    const unsigned long long limit = negative ? 9223372036854775808ull : 9223372036854775807ull;
    unsigned long long magnitude = 0;
    for (; p != end && isDigit(static_cast<unsigned char>(*p)); ++p) {
        const unsigned digit = static_cast<unsigned>(*p - '0');
        if (magnitude > (limit - digit) / 10)
            magnitude = limit;
        else
            magnitude = magnitude * 10 + digit;
    }
    const unsigned long long asLong = negative ? 0ull - magnitude : magnitude;
    // glibc stores the long into the int: the low 32 bits.
    value = static_cast<std::int32_t>(static_cast<std::uint32_t>(asLong));
    return true;
}

}  // namespace KelpObj
