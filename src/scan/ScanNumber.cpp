#include "scan/ScanNumber.h"

#include "platform/CFloat.h"

#include "scan/ScanCursor.h"
#include "scan/ScanDigits.h"

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <locale.h>
#include <system_error>

namespace KelpScan {

namespace {
bool isDigit(int c) { return c >= '0' && c <= '9'; }
}  // namespace

void FloatText::reset() {
    digits_.clear();
    scale_ = exponent_ = 0;
    special_ = Special::None;
    negative_ = hex_ = afterPoint_ = sticky_ = mantissaDigits_ = exponentDigits_ = exponentNegative_ = false;
}

void FloatText::mantissaDigit(int c) {
    mantissaDigits_ = true;
    // Each digit is worth a power of the base; binary scale counts 4 per hex digit.
    const std::int64_t step = hex_ ? 4 : 1;
    if (digits_.empty() && c == '0') {
        if (afterPoint_) scale_ -= step;
        return;
    }
    if (digits_.size() < kMaxDigits) {
        digits_.push_back(static_cast<char>(c));
        if (afterPoint_) scale_ -= step;
    } else {
        if (c != '0') sticky_ = true;
        if (!afterPoint_) scale_ += step;
    }
}

void FloatText::exponentDigit(int c) {
    exponentDigits_ = true;
    if (exponent_ < kExponentLimit) exponent_ = exponent_ * 10 + (c - '0');
}

// A short spelling with the same value: digits, a sticky '1' standing for the
// digits dropped (it cannot move the value across a rounding boundary, which
// needs fewer than 800 digits to state), and the exponent that places them.
void FloatText::spell(std::string& text) const {
    text.clear();
    if (negative_) text.push_back('-');
    if (hex_) text += "0x";
    if (digits_.empty()) {
        text.push_back('0');
        return;
    }
    text += digits_;
    std::int64_t scale = scale_;
    if (sticky_) {
        text.push_back('1');
        scale -= hex_ ? 4 : 1;
    }
    std::int64_t total = scale + (exponentDigits_ ? (exponentNegative_ ? -exponent_ : exponent_) : 0);
    // Far beyond any float's range either way; the digits are fewer than 1000.
    const std::int64_t bound = hex_ ? 100000 : 30000;
    if (total > bound) total = bound;
    if (total < -bound) total = -bound;
    text.push_back(hex_ ? 'p' : 'e');
    text += std::to_string(total);
}

template <typename Real>
bool FloatText::convert(Real& value) const {
    if (special_ != Special::None) {
        const Real magnitude = special_ == Special::Infinity ? std::numeric_limits<Real>::infinity()
                                                              : std::numeric_limits<Real>::quiet_NaN();
        value = negative_ ? -magnitude : magnitude;
        return true;
    }
    if (!mantissaDigits_ && !hex_) return false;
    std::string text;
    spell(text);
    if (!hex_) {
        Real parsed;
        const auto result = std::from_chars(text.data(), text.data() + text.size(), parsed);
        if (result.ec == std::errc()) {
            value = parsed;
            return true;
        }
    }
    // Hexadecimal, or out of range (infinity, a denormal or zero): the C
    // library's own conversion decides.
    if constexpr (sizeof(Real) == sizeof(float))
        value = KelpPlatform::strtofC(text.c_str(), nullptr);
    else
        value = KelpPlatform::strtodC(text.c_str(), nullptr);
    return true;
}

bool FloatText::toFloat(float& value) const { return convert(value); }
bool FloatText::toDouble(double& value) const { return convert(value); }

std::int32_t IntegerText::asInt() const {
    // strtol saturates at LONG_MAX / LONG_MIN.
    const std::uint64_t limit = negative_ ? (std::uint64_t(1) << 63) : (std::uint64_t(1) << 63) - 1;
    const std::uint64_t magnitude = overflow_ || magnitude_ > limit ? limit : magnitude_;
    const std::uint64_t asLong = negative_ ? 0 - magnitude : magnitude;
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(asLong));
}

std::uint32_t IntegerText::asUnsigned() const {
    // strtoul: overflow gives ULONG_MAX whatever the sign; otherwise a minus
    // negates in unsigned arithmetic.
    const std::uint64_t result = overflow_ ? kUnsignedMax : negative_ ? 0 - magnitude_ : magnitude_;
    return static_cast<std::uint32_t>(result);
}

namespace {
// mantissa * 10^exponent in one correctly rounded double operation, when both
// operands are exact doubles.
template <typename Real>
bool scaleExactly(std::uint64_t mantissa, long exponent, bool negative, Real& value) {
    if (mantissa > (std::uint64_t(1) << 53) || exponent < -22 || exponent > 22) return false;
    double scaled = static_cast<double>(mantissa);
    scaled = exponent < 0 ? scaled / kPow10d[-exponent] : scaled * kPow10d[exponent];
    return storeRounded(scaled, negative, value);
}
}  // namespace

namespace {
// The digits of "digits[.digits]" as one integer, and the power of ten that
// places them.
struct Mantissa {
    const unsigned char* stop;
    std::uint64_t digits;
    std::size_t count;
    long exponent;
};

// The mantissa where each digit run is shorter than eight, read eight bytes at
// a time; false when a run may be longer (then it is counted digit by digit).
// Needs kWideSlack readable bytes at `p`.
constexpr std::ptrdiff_t kWideSlack = 24;

[[gnu::always_inline]] inline bool wideMantissa(const unsigned char* p, Mantissa& m) {
    const DigitRun whole = digitRun(p);
    if (whole.length == 8) return false;
    p += whole.length;
    m.digits = whole.value;
    m.count = whole.length;
    m.exponent = 0;
    if (*p == '.') {
        const DigitRun fraction = digitRun(++p);
        if (fraction.length == 8) return false;
        m.digits = m.digits * kPow10u[fraction.length] + fraction.value;
        m.count += fraction.length;
        m.exponent = -static_cast<long>(fraction.length);
        p += fraction.length;
    }
    m.stop = p;
    return true;
}

[[gnu::noinline]] Mantissa narrowMantissa(const unsigned char* p, const unsigned char* end) {
    Mantissa m{p, 0, 0, 0};
    while (p != end && isDigit(*p)) m.digits = m.digits * 10 + static_cast<unsigned>(*p++ - '0');
    m.count = static_cast<std::size_t>(p - m.stop);
    if (p != end && *p == '.') {
        const unsigned char* const first = ++p;
        while (p != end && isDigit(*p)) m.digits = m.digits * 10 + static_cast<unsigned>(*p++ - '0');
        m.exponent = -static_cast<long>(p - first);
        m.count += static_cast<std::size_t>(p - first);
    }
    m.stop = p;
    return m;
}

// A complete exponent after the mantissa ("%e" output), from its 'e': added
// to `exponent`, `p` moved past it. False when it has no digits (the general
// path's: "1e" reads as 1) or more than six.
[[gnu::noinline]] bool plainExponent(const unsigned char*& p, const unsigned char* end, long& exponent) {
    const unsigned char* q = p + 1;
    const bool negative = q != end && *q == '-';
    if (q != end && (*q == '+' || *q == '-')) ++q;
    const unsigned char* const first = q;
    long written = 0;
    while (q != end && isDigit(*q) && q - first < 6) written = written * 10 + (*q++ - '0');
    if (q == first || (q != end && isDigit(*q))) return false;
    exponent += negative ? -written : written;
    p = q;
    return true;
}
}  // namespace

template <typename Real>
bool convertPlainNumberGeneral(const unsigned char* begin, const unsigned char* end, Real& value,
                               const unsigned char*& stop) {
    const bool negative = begin != end && *begin == '-';
    const unsigned char* const digits = begin + (negative ? 1 : 0);
    Mantissa m;
    if (end - digits < kWideSlack || !wideMantissa(digits, m)) m = narrowMantissa(digits, end);
    // Up to 19 digits the mantissa cannot wrap.
    if (m.count == 0 || m.count > 19) return false;
    return finishPlainNumber(begin, m.stop, end, m.digits, m.exponent, negative, value, stop);
}

template <typename Real>
bool finishPlainNumber(const unsigned char* begin, const unsigned char* p, const unsigned char* end,
                       std::uint64_t mantissa, long exponent, bool negative, Real& value, const unsigned char*& stop) {
    if (p != end && (*p == 'e' || *p == 'E')) {
        // As "%e" writes it: a sign and two digits.
        if (end - p > 4 && (p[1] == '-' || p[1] == '+') && isDigit(p[2]) && isDigit(p[3]) && !isDigit(p[4])) {
            const long written = (p[2] - '0') * 10 + (p[3] - '0');
            exponent += p[1] == '-' ? -written : written;
            p += 4;
        } else if (!plainExponent(p, end, exponent)) {
            return false;
        }
    }
    if (!scaleExactly(mantissa, exponent, negative, value)) {
        Real converted;
        const auto result =
            std::from_chars(reinterpret_cast<const char*>(begin), reinterpret_cast<const char*>(p), converted);
        if (result.ec != std::errc() || result.ptr != reinterpret_cast<const char*>(p)) return false;
        value = converted;
    }
    stop = p;
    return true;
}

template bool finishPlainNumber(const unsigned char*, const unsigned char*, const unsigned char*, std::uint64_t, long,
                                bool, float&, const unsigned char*&);
template bool finishPlainNumber(const unsigned char*, const unsigned char*, const unsigned char*, std::uint64_t, long,
                                bool, double&, const unsigned char*&);
template bool convertPlainNumberGeneral(const unsigned char*, const unsigned char*, float&, const unsigned char*&);
template bool convertPlainNumberGeneral(const unsigned char*, const unsigned char*, double&, const unsigned char*&);

bool scanFloatText(const char* begin, const char* end, const ScanLocale& locale, float& value) {
    ScanSource text(begin, end);
    ScanCursor cursor(text, locale);
    return cursor.readFloat(value);
}

bool scanIntText(const char* begin, const char* end, const bool (&space)[256], std::int32_t& value) {
    const char* p = begin;
    while (p != end && *p != '\0' && space[static_cast<unsigned char>(*p)]) ++p;
    IntegerText number;
    if (p != end && (*p == '+' || *p == '-')) number.sign(*p++ == '-');
    if (p == end || *p < '0' || *p > '9') return false;
    for (; p != end && *p >= '0' && *p <= '9'; ++p) number.digit(*p);
    value = number.asInt();
    return true;
}

}  // namespace KelpScan
