#include "scan/ScanNumber.h"

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <locale.h>
#include <system_error>

namespace KelpScan {

namespace {
locale_t cLocale() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return locale;
}
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
        value = strtof_l(text.c_str(), nullptr, cLocale());
    else
        value = strtod_l(text.c_str(), nullptr, cLocale());
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
