// Numbers as the C library converts them, in bounded memory: the characters a
// scan collects are fed one at a time into a FloatText, which keeps only what
// decides the value (up to 800 significant digits, a sticky digit for the
// rest, a saturated exponent), so a 1 GB mantissa costs what a short one does
// and converts to the same, correctly rounded, value. IntegerText does the
// same for strtol/strtoul with their saturation.
#pragma once

#include "scan/ScanDigits.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace KelpScan {

struct ScanLocale;

class FloatText {
public:
    void reset();
    void sign(bool negative) { negative_ = negative; }
    // "0x" seen: the digits that follow are hexadecimal, the exponent binary.
    void hexadecimal() { hex_ = true; }
    void mantissaDigit(int c);
    void point() { afterPoint_ = true; }
    // "nan" and "inf"/"infinity": the text is complete.
    void nan() { special_ = Special::NotANumber; }
    void infinity() { special_ = Special::Infinity; }
    void exponentSign(bool negative) { exponentNegative_ = negative; }
    void exponentDigit(int c);

    bool hasMantissaDigit() const { return mantissaDigits_; }
    bool hasExponentDigit() const { return exponentDigits_; }
    bool isHex() const { return hex_; }

    // strtof/strtod on the collected text: the value of its longest valid
    // prefix (an exponent without digits counts for nothing; "0x" without
    // hexadecimal digits reads as a zero). False only when no mantissa digit
    // was seen in a decimal text.
    bool toFloat(float& value) const;
    bool toDouble(double& value) const;

private:
    template <typename Real>
    bool convert(Real& value) const;
    void spell(std::string& text) const;

    static constexpr std::size_t kMaxDigits = 800;
    static constexpr std::int64_t kExponentLimit = 1000000000;

    enum class Special { None, NotANumber, Infinity };
    Special special_ = Special::None;
    std::string digits_;  // significant digits, from the first non-zero one
    std::int64_t scale_ = 0;  // value = digits * base^scale_ * base^exponent
    std::int64_t exponent_ = 0;
    bool negative_ = false;
    bool hex_ = false;
    bool afterPoint_ = false;
    bool sticky_ = false;  // a non-zero digit beyond kMaxDigits
    bool mantissaDigits_ = false;
    bool exponentDigits_ = false;
    bool exponentNegative_ = false;
};

// The value of sign and decimal digits as strtol (signed) or strtoul
// (unsigned) computes it in a 64-bit long, saturating as they do.
class IntegerText {
public:
    void reset() { *this = IntegerText(); }
    void sign(bool negative) { negative_ = negative; }
    void digit(int c) {
        const unsigned d = static_cast<unsigned>(c - '0');
        if (magnitude_ > (kUnsignedMax - d) / 10)
            overflow_ = true;
        else
            magnitude_ = magnitude_ * 10 + d;
    }
    // strtol, then the low 32 bits, as scanf stores a long into an int.
    std::int32_t asInt() const;
    // strtoul, then the low 32 bits.
    std::uint32_t asUnsigned() const;

private:
    static constexpr std::uint64_t kUnsignedMax = ~std::uint64_t(0);
    std::uint64_t magnitude_ = 0;
    bool negative_ = false;
    bool overflow_ = false;
};

// The one-pass path for a plain "-?digits[.digits]" (at most 19 digits),
// with or without a complete exponent, at [begin, end): true with `value`
// converted exactly and `stop` after the number; false, nothing converted,
// for any other shape or a result that needs the general conversion. The
// caller decides what may follow. convertPlainNumber (below) takes the usual
// short shape inline and hands the rest to this.
template <typename Real>
bool convertPlainNumberGeneral(const unsigned char* begin, const unsigned char* end, Real& value,
                               const unsigned char*& stop);
// Its last step, once the mantissa's `mantissa` * 10^`exponent` ends at `p`
// (the number starting at `begin`): an exponent part if one follows, then
// the conversion.
template <typename Real>
bool finishPlainNumber(const unsigned char* begin, const unsigned char* p, const unsigned char* end,
                       std::uint64_t mantissa, long exponent, bool negative, Real& value, const unsigned char*& stop);

// "%d" on a C string in memory (sscanf): optional white space, sign and
// digits from [begin, end); a zero byte ends the text. False when no digit
// follows.
bool scanIntText(const char* begin, const char* end, const bool (&space)[256], std::int32_t& value);

// "%f" on a text in memory (sscanf) under `locale`: true when a value was stored.
bool scanFloatText(const char* begin, const char* end, const ScanLocale& locale, float& value);

// strtod(text, nullptr) under `locale` on the C string [begin, end) (a zero
// byte ends it too): the longest valid prefix's value, inf/nan spellings and
// a NaN's "(payload)" included; 0 where nothing converts.
double convertDoubleText(const char* begin, const char* end, const ScanLocale& locale);
// strtol(text, nullptr, 10) under `locale`, saturated as strtol saturates a
// 64-bit long, then its low 32 bits; 0 where nothing converts.
std::int32_t convertIntText(const char* begin, const char* end, const ScanLocale& locale);

// convertPlainNumberGeneral's results, inline for the usual shape as "%f"
// writes it: fewer than eight digits before and after the point, no
// exponent, with room to look eight bytes ahead.
template <typename Real>
[[gnu::always_inline]] inline bool convertPlainNumber(const unsigned char* begin, const unsigned char* end,
                                                      Real& value, const unsigned char*& stop) {
    // Sign, eight digits, the point and eight more: what the loads may touch.
    if (end - begin >= 24) {
        const bool negative = *begin == '-';
        const unsigned char* p = begin + (negative ? 1 : 0);
        const DigitRun whole = digitRun(p);
        p += whole.length;
        std::uint64_t digits = whole.value;
        unsigned places = 0;
        if (*p == '.') {
            const DigitRun fraction = digitRun(p + 1);
            digits = digits * kPow10u[fraction.length] + fraction.value;
            // "%f" writes six places: as a (predicted) branch, the number's
            // end, and so the next number's start, need not wait for the
            // fraction's digits to be counted.
            if (fraction.length == 6) {
                places = 6;
                p += 7;
            } else {
                places = fraction.length;
                p += 1 + places;
            }
        }
        if ((whole.length < 8) & (places < 8) & (whole.length + places != 0)) {
            // At most fourteen digits: an exact double, scaled by one exact division.
            if ((*p | 0x20) != 'e' && storeRounded(static_cast<double>(digits) / kPow10d[places], negative, value)) {
                stop = p;
                return true;
            }
            // "%e" output: the mantissa is done; the exponent goes with the rest.
            return finishPlainNumber(begin, p, end, digits, -static_cast<long>(places), negative, value, stop);
        }
    }
    return convertPlainNumberGeneral(begin, end, value, stop);
}

}  // namespace KelpScan
