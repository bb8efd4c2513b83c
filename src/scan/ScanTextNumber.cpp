// strtod and strtol on a C string, as the PLY header converts its version and
// element counts: the value of the longest valid prefix, 0 where there is none.
#include "scan/ScanLocale.h"
#include "scan/ScanNumber.h"

#include <cstring>
#include <limits>

namespace KelpScan {

namespace {
bool isDigit(int c) { return c >= '0' && c <= '9'; }
bool isHexDigit(int c) { return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
int lower(int c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; }

// The text's bytes, with a zero byte at its end (and at any zero inside it).
class CText {
public:
    CText(const char* begin, const char* end) : p_(begin), end_(end) {}
    int at(std::size_t i = 0) const {
        for (std::size_t k = 0; k <= i; ++k)
            if (p_ + k >= end_ || p_[k] == '\0') return 0;
        return static_cast<unsigned char>(p_[i]);
    }
    void skip(std::size_t n) { p_ += n; }
    bool startsWith(const char* lowerWord) const {
        for (std::size_t i = 0; lowerWord[i]; ++i)
            if (lower(at(i)) != lowerWord[i]) return false;
        return true;
    }
    bool pointAt(std::size_t i, const ScanLocale& locale) const {
        for (std::size_t k = 0; k < locale.decimalLength; ++k)
            if (at(i + k) != static_cast<unsigned char>(locale.decimalPoint[k])) return false;
        return true;
    }

private:
    const char* p_;
    const char* end_;
};

// strtoull(text, &end, 0) where the text must be used whole: the value
// (saturated) or false when a byte is left over or nothing converts.
bool wholeUnsigned(const char* begin, const char* end, std::uint64_t& value) {
    unsigned base = 10;
    const char* p = begin;
    if (end - p >= 2 && p[0] == '0' && lower(p[1]) == 'x' && end - p > 2 && isHexDigit(p[2])) {
        base = 16;
        p += 2;
    } else if (p != end && *p == '0') {
        base = 8;
    }
    if (p == end) return false;
    value = 0;
    bool overflow = false;
    for (; p != end; ++p) {
        const int c = lower(static_cast<unsigned char>(*p));
        const unsigned digit = isDigit(c) ? static_cast<unsigned>(c - '0') : c >= 'a' && c <= 'z' ? c - 'a' + 10u : 99u;
        if (digit >= base) return false;
        if (value > (std::numeric_limits<std::uint64_t>::max() - digit) / base) overflow = true;
        value = value * base + digit;
    }
    if (overflow) value = std::numeric_limits<std::uint64_t>::max();
    return true;
}

// "nan" and what may follow it: "(chars)" whose chars read as one unsigned
// number (strtoull, any base prefix) put that number into the low 51 bits of
// the quiet NaN, as glibc does.
double notANumber(CText text, bool negative) {
    std::uint64_t bits = 0x7FF8000000000000u;
    if (text.at() == '(') {
        std::size_t n = 1;
        for (int c; isDigit(c = text.at(n)) || (lower(c) >= 'a' && lower(c) <= 'z') || c == '_';) ++n;
        std::string chars;
        for (std::size_t i = 1; i < n; ++i) chars.push_back(static_cast<char>(text.at(i)));
        std::uint64_t payload;
        if (text.at(n) == ')' && wholeUnsigned(chars.data(), chars.data() + chars.size(), payload))
            bits |= payload & ((std::uint64_t(1) << 51) - 1);
    }
    if (negative) bits |= std::uint64_t(1) << 63;
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}
}  // namespace

double convertDoubleText(const char* begin, const char* end, const ScanLocale& locale) {
    CText text(begin, end);
    while (text.at() && locale.space[text.at()]) text.skip(1);
    const bool negative = text.at() == '-';
    if (text.at() == '-' || text.at() == '+') text.skip(1);
    if (!isDigit(text.at()) && !(text.pointAt(0, locale) && isDigit(text.at(locale.decimalLength)))) {
        if (text.startsWith("inf"))
            return negative ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
        if (text.startsWith("nan")) {
            text.skip(3);
            return notANumber(text, negative);
        }
        return 0.0;
    }
    FloatText number;
    number.reset();
    number.sign(negative);
    const bool hex = text.at() == '0' && lower(text.at(1)) == 'x';
    if (hex) {
        number.hexadecimal();
        text.skip(2);
    }
    auto digits = [&] {
        for (int c; isDigit(c = text.at()) || (hex && isHexDigit(c)); text.skip(1)) number.mantissaDigit(c);
    };
    digits();
    // "0x." needs a hexadecimal digit on one side of the point.
    if (text.pointAt(0, locale) && (!hex || number.hasMantissaDigit() || isHexDigit(text.at(locale.decimalLength)))) {
        number.point();
        text.skip(locale.decimalLength);
        digits();
    }
    // An exponent counts only with a digit; hexadecimal digits ("0x" alone
    // reads as zero) must come before a 'p'.
    if (lower(text.at()) == (hex ? 'p' : 'e') && number.hasMantissaDigit()) {
        std::size_t n = 1;
        const bool negativeExponent = text.at(n) == '-';
        if (text.at(n) == '-' || text.at(n) == '+') ++n;
        if (isDigit(text.at(n))) {
            number.exponentSign(negativeExponent);
            text.skip(n);
            for (int c; isDigit(c = text.at()); text.skip(1)) number.exponentDigit(c);
        }
    }
    double value = 0.0;
    if (!number.toDouble(value)) value = 0.0;
    return value;
}

std::int32_t convertIntText(const char* begin, const char* end, const ScanLocale& locale) {
    std::int32_t value;
    return scanIntText(begin, end, locale.space, value) ? value : 0;
}

}  // namespace KelpScan
