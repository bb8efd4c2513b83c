// The word scanner of the DXF reader: in-memory equivalents of glibc's
// fscanf "%250s" and "%f" on the same bytes, with the same results and the
// same characters consumed, so that the reader can run over a buffer.
#pragma once

#include <cstddef>
#include <string_view>

namespace KelpPointCloud {

// Longest word one read returns; a longer run of non-space characters is
// returned in pieces of this length, as a width-limited "%s" does.
inline constexpr std::size_t kDxfWordLimit = 250;

class DxfScanner {
public:
    // Takes white space, letter case and the decimal point from the current
    // C locale, as the stdio scan would at this moment.
    DxfScanner(const char* begin, const char* end);

    // "%250s": skips white space and returns the next word (at most
    // kDxfWordLimit characters); false at the end of the input.
    bool nextWord(std::string_view& word);

    // "%f": skips white space and reads the longest text that can start a
    // float (decimal, hexadecimal, "nan", "inf", "infinity"). Stores the
    // value and returns true when it converts; otherwise returns false and
    // leaves `value` as it was. Either way the characters that the stdio
    // scan consumes are consumed: all that was matched, and on a failed
    // "nan"/"infinity" spelling also the character that broke it.
    bool scanFloat(float& value);

    std::size_t offset() const { return static_cast<std::size_t>(cursor_ - begin_); }

    // A word as the C string "%s" stores: the comparison stops at an embedded
    // zero byte.
    static bool wordIs(std::string_view word, std::string_view keyword) {
        const std::size_t zero = word.find('\0');
        if (zero != std::string_view::npos) word = word.substr(0, zero);
        return word == keyword;
    }

private:
    bool isSpace(char c) const { return space_[static_cast<unsigned char>(c)]; }
    char lower(char c) const { return lower_[static_cast<unsigned char>(c)]; }
    void skipSpace() {
        while (cursor_ < end_ && isSpace(*cursor_)) ++cursor_;
    }
    bool matchLetters(const char*& p, const char* letters);
    bool convert(const char* first, const char* last, bool special, float& value) const;

    const char* begin_;
    const char* cursor_;
    const char* end_;
    char decimalPoint_ = '.';
    bool space_[256];
    char lower_[256];
};

}  // namespace KelpPointCloud
