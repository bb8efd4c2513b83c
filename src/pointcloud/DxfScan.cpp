#include "pointcloud/DxfScan.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string>
#include <system_error>

namespace KelpPointCloud {

DxfScanner::DxfScanner(const char* begin, const char* end) : begin_(begin), cursor_(begin), end_(end) {
    for (int c = 0; c < 256; ++c) {
        space_[c] = std::isspace(c) != 0;
        lower_[c] = static_cast<char>(std::tolower(c));
    }
    const std::lconv* conventions = std::localeconv();
    if (conventions && conventions->decimal_point && std::strlen(conventions->decimal_point) == 1)
        decimalPoint_ = conventions->decimal_point[0];
}

bool DxfScanner::nextWord(std::string_view& word) {
    skipSpace();
    if (cursor_ == end_) return false;
    const char* const start = cursor_;
    const char* const limit = start + std::min<std::size_t>(kDxfWordLimit, static_cast<std::size_t>(end_ - start));
    while (cursor_ < limit && !isSpace(*cursor_)) ++cursor_;
    word = std::string_view(start, static_cast<std::size_t>(cursor_ - start));
    return true;
}

// Matches the rest of a "nan"/"inf"/"infinity" spelling. A wrong letter is
// consumed with the failure (the scan does not put it back); the end of the
// input consumes nothing more.
bool DxfScanner::matchLetters(const char*& p, const char* letters) {
    for (; *letters; ++letters) {
        if (p == end_) return false;
        if (lower(*p++) != *letters) return false;
    }
    return true;
}

bool DxfScanner::scanFloat(float& value) {
    skipSpace();
    if (cursor_ == end_) return false;
    const char* const start = cursor_;
    const char* p = start;
    std::size_t signLength = 0;
    if (*p == '-' || *p == '+') {
        signLength = 1;
        if (++p == end_) {
            cursor_ = p;
            return false;
        }
    }

    if (lower(*p) == 'n' || lower(*p) == 'i') {
        const bool infinity = lower(*p++) == 'i';
        bool matched = matchLetters(p, infinity ? "nf" : "an");
        // "inf" may go on to "infinity", and then has to finish it.
        if (matched && infinity && p < end_ && lower(*p) == 'i') {
            ++p;
            matched = matchLetters(p, "nity");
        }
        cursor_ = p;
        return matched && convert(start, p, true, value);
    }

    bool hex = false, gotDigit = false, gotDot = false, gotExponent = false;
    char exponentChar = 'e';
    if (*p == '0') {
        ++p;
        if (p < end_ && lower(*p) == 'x') {
            hex = true;
            exponentChar = 'p';
            ++p;
        } else {
            gotDigit = true;
        }
    }
    for (; p < end_; ++p) {
        const char c = *p;
        if (c >= '0' && c <= '9')
            gotDigit = true;
        else if (hex && !gotExponent && std::isxdigit(static_cast<unsigned char>(c)))
            gotDigit = true;
        else if (gotExponent && lower(p[-1]) == exponentChar && (c == '-' || c == '+'))
            continue;
        else if (gotDigit && !gotExponent && lower(c) == exponentChar)
            gotExponent = gotDot = true;
        else if (!gotDot && c == decimalPoint_)
            gotDot = true;
        else
            break;
    }
    cursor_ = p;
    const std::size_t collected = static_cast<std::size_t>(p - start);
    if (collected == signLength || (hex && collected == 2 + signLength)) return false;
    return convert(start, p, hex, value);
}

// The scan hands what it collected to strtof and accepts any non-empty prefix
// that converts ("1e" gives 1, "0x." gives 0). Plain decimals go through
// from_chars, which rounds the same way; the rest through strtof itself.
bool DxfScanner::convert(const char* first, const char* last, bool special, float& value) const {
    if (!special && decimalPoint_ == '.') {
        const char* digits = first;
        const bool negative = *digits == '-';
        if (*digits == '-' || *digits == '+') ++digits;
        float parsed = 0.0f;
        const auto result = std::from_chars(digits, last, parsed, std::chars_format::general);
        if (result.ec == std::errc()) {
            value = negative ? -parsed : parsed;
            return true;
        }
        if (result.ec != std::errc::result_out_of_range) return false;
    }
    const std::string text(first, last);
    char* stop = nullptr;
    const float parsed = std::strtof(text.c_str(), &stop);
    if (stop == text.c_str()) return false;
    value = parsed;
    return true;
}

}  // namespace KelpPointCloud
