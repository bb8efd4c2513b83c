// The stdio scanning calls of the text readers, over a ScanSource: each
// function consumes exactly the bytes that glibc's call consumes on the same
// input, stores the same value and leaves the same end-of-file indicator,
// including scanf's single character of push-back (the characters of a
// failed number are gone: "-x" loses the "-", "nax" loses all three, "1e"
// reads as 1 having eaten the "e").
#pragma once

#include "scan/ScanLocale.h"
#include "scan/ScanNumber.h"
#include "scan/ScanSource.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace KelpScan {

class ScanCursor {
public:
    // White space and the decimal point come from `locale`, taken by the
    // caller when the described calls would take it.
    ScanCursor(ScanSource& source, const ScanLocale& locale) : in_(source), locale_(locale) {}

    bool eof() const { return in_.eof(); }
    ScanSource& source() { return in_; }
    const ScanLocale& locale() const { return locale_; }

    // A white-space directive (" " or "\n" in a format): any run of white space.
    void skipSpace();
    // "%*s". False (input failure) when only white space is left.
    bool skipWord();
    // "%s": consumes the whole word and keeps its first `keep` bytes in
    // `word` (zero bytes included). False when only white space is left;
    // `word` is then untouched.
    bool readWord(std::string& word, std::size_t keep);
    // The same, without a copy where it can: [word, word + length) points
    // into the window (or, for a word cut by a refill, into a copy of its
    // first `keep` bytes) and stays valid until the next read. Inline for
    // the usual case of a short word between blanks (a statement word), so
    // that it costs a few compares rather than a call and a refill check.
    bool readWord(const char*& word, std::size_t& length, std::size_t keep) {
        return wordInWindow(word, length, keep) || readWordSlowly(word, length, keep);
    }
    // "%<width>s": at most `width` bytes; the rest of a longer word stays.
    bool readWordWidth(std::string& word, std::size_t width);
    // The same, pointing into the window where it can, as readWord above.
    bool readWordWidth(const char*& word, std::size_t& length, std::size_t width);

    // "%f", "%lf": true when a value was stored.
    bool readFloat(float& value) { return readReal(value); }
    bool readDouble(double& value) { return readReal(value); }
    // "%d", "%u": strtol / strtoul of the digits, stored as 32 bits.
    bool readInt(std::int32_t& value);
    bool readUnsigned(std::uint32_t& value);

    // fgets(buffer, capacity, file) with capacity at most
    // ScanSource::kMaxLookahead + 1: the bytes stored, valid until the next
    // read. False when nothing was stored.
    bool readLine(std::size_t capacity, const char*& line, std::size_t& length);
    // getc up to and including the next line feed; false when the end came first.
    bool skipLine();

    // `stream >> value` on the rest of the current line (a line feed ends the
    // text, unread), in the "C" locale: true when a value was stored. A
    // failure stores nothing (the reader keeps the previous value) and the
    // caller stops extracting from this line; an out-of-range magnitude fails,
    // an underflow reads as zero or a denormal.
    bool extractFloat(float& value);
    // `stream >> word` on the rest of the current line: the word's first
    // `keep` bytes replace `word`. False, `word` untouched, when only white
    // space is left before the line feed (which stays unread).
    bool extractWord(std::string& word, std::size_t keep);

private:
    // "%s" where the white space before the word and the word itself end
    // inside the window; false, nothing consumed, otherwise.
    bool wordInWindow(const char*& word, std::size_t& length, std::size_t keep) {
        const unsigned char* start = in_.next();
        const unsigned char* const end = in_.limit();
        while (start != end && locale_.space[*start]) ++start;
        const unsigned char* p = start;
        while (p != end && !locale_.space[*p]) ++p;
        if (p == end) return false;
        in_.advanceTo(p);
        word = reinterpret_cast<const char*>(start);
        length = static_cast<std::size_t>(p - start);
        if (length > keep) length = keep;
        return true;
    }
    bool readWordSlowly(const char*& word, std::size_t& length, std::size_t keep);
    // Skips white space before a conversion; false (end-of-file set) when
    // the input ends first.
    bool skipSpaceBeforeConversion();
    bool takeWord(std::string* word, std::size_t width, std::size_t keep);
    template <typename Real>
    bool readReal(Real& value);
    // The one-pass path for plain "-?digits[.digits][e<digits>]" followed by white
    // space: 1 stored, -1 not that shape (nothing consumed).
    template <typename Real>
    int readPlainReal(Real& value);
    bool collectFloat();
    bool matchLetters(const char* lower);
    bool collectInteger();
    bool matchDecimalPoint(int& c);

    ScanSource& in_;
    const ScanLocale locale_;
    std::string spill_;
    FloatText float_;
    IntegerText integer_;
};

}  // namespace KelpScan
