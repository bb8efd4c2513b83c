#include "scan/ScanCursor.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace KelpScan {

namespace {
bool isDigit(int c) { return c >= '0' && c <= '9'; }
bool isHexDigit(int c) { return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
int lower(int c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; }

// A plain number is taken in place only when this much is buffered (or the
// file ends inside the window); otherwise the byte-by-byte path runs.
constexpr std::size_t kLookahead = 64;
}  // namespace

void ScanCursor::skipSpace() {
    for (;;) {
        const unsigned char* p = in_.next();
        const unsigned char* const end = in_.limit();
        while (p != end && locale_.space[*p]) ++p;
        in_.advanceTo(p);
        if (p != end) return;
        if (!in_.refill()) {
            in_.setEof();
            return;
        }
    }
}

bool ScanCursor::skipSpaceBeforeConversion() {
    skipSpace();
    return in_.available() != 0;
}

// One word: at most `width` bytes consumed (a longer word stays for the next
// read), the first `keep` of them stored when `word` is given.
bool ScanCursor::takeWord(std::string* word, std::size_t width, std::size_t keep) {
    if (!skipSpaceBeforeConversion()) return false;
    if (word) word->clear();
    std::size_t taken = 0;
    for (;;) {
        const unsigned char* const start = in_.next();
        const std::size_t room = width - taken;
        const unsigned char* const end = in_.available() < room ? in_.limit() : start + room;
        const unsigned char* p = start;
        while (p != end && !locale_.space[*p]) ++p;
        const std::size_t length = static_cast<std::size_t>(p - start);
        if (word && word->size() < keep)
            word->append(reinterpret_cast<const char*>(start), std::min(length, keep - word->size()));
        taken += length;
        in_.advanceTo(p);
        if (p != in_.limit() || taken == width) return true;
        if (!in_.refill()) {
            in_.setEof();
            return true;
        }
    }
}

bool ScanCursor::readWordWidth(std::string& word, std::size_t width) { return takeWord(&word, width, width); }
bool ScanCursor::readWord(std::string& word, std::size_t keep) { return takeWord(&word, SIZE_MAX, keep); }
bool ScanCursor::skipWord() { return takeWord(nullptr, SIZE_MAX, 0); }

bool ScanCursor::readWordSlowly(const char*& word, std::size_t& length, std::size_t keep) {
    if (!skipSpaceBeforeConversion()) return false;
    if (wordInWindow(word, length, keep)) return true;
    readWord(spill_, keep);
    word = spill_.data();
    length = spill_.size();
    return true;
}

bool ScanCursor::readWordWidth(const char*& word, std::size_t& length, std::size_t width) {
    if (!skipSpaceBeforeConversion()) return false;
    const unsigned char* const start = in_.next();
    const unsigned char* const end = start + std::min(in_.available(), width);
    const unsigned char* p = start;
    while (p != end && !locale_.space[*p]) ++p;
    length = static_cast<std::size_t>(p - start);
    // Ended by white space or the width inside the window: nothing to refill.
    if (p != in_.limit() || length == width) {
        in_.advanceTo(p);
        word = reinterpret_cast<const char*>(start);
        return true;
    }
    takeWord(&spill_, width, width);
    word = spill_.data();
    length = spill_.size();
    return true;
}

bool ScanCursor::readLine(std::size_t capacity, const char*& line, std::size_t& length) {
    if (capacity < 2) return false;
    const std::size_t room = capacity - 1;
    in_.ensure(room);
    const std::size_t span = in_.available() < room ? in_.available() : room;
    if (span == 0) {
        in_.setEof();
        return false;
    }
    const unsigned char* const start = in_.next();
    const void* feed = std::memchr(start, '\n', span);
    const unsigned char* const stop = feed ? static_cast<const unsigned char*>(feed) + 1 : start + span;
    // Stopped by the end of the file rather than by the buffer or a line feed.
    if (!feed && span < room) in_.setEof();
    in_.advanceTo(stop);
    line = reinterpret_cast<const char*>(start);
    length = static_cast<std::size_t>(stop - start);
    return true;
}

bool ScanCursor::skipLine() {
    for (;;) {
        const unsigned char* const start = in_.next();
        const void* feed = std::memchr(start, '\n', in_.available());
        if (feed) {
            in_.advanceTo(static_cast<const unsigned char*>(feed) + 1);
            return true;
        }
        in_.advanceTo(in_.limit());
        if (!in_.refill()) {
            in_.setEof();
            return false;
        }
    }
}

template <typename Real>
int ScanCursor::readPlainReal(Real& value) {
    const unsigned char* const start = in_.next();
    const unsigned char* const end = in_.limit();
    if (static_cast<std::size_t>(end - start) < kLookahead && !in_.exhausted()) return -1;
    Real converted;
    const unsigned char* stop;
    if (!convertPlainNumber(start, end, converted, stop)) return -1;
    if (stop != end && !locale_.space[*stop]) return -1;
    // A number that runs to the end of the file has read into it.
    if (stop == end) in_.setEof();
    in_.advanceTo(stop);
    value = converted;
    return 1;
}

template <typename Real>
bool ScanCursor::readReal(Real& value) {
    if (!skipSpaceBeforeConversion()) return false;
    if (locale_.plainPoint && readPlainReal(value) == 1) return true;
    if (!collectFloat()) return false;
    if constexpr (sizeof(Real) == sizeof(float))
        return float_.toFloat(value);
    else
        return float_.toDouble(value);
}

template int ScanCursor::readPlainReal(float&);
template bool ScanCursor::readReal(float&);
template bool ScanCursor::readReal(double&);

// Letters that must follow in "nan" or "infinity" (any case). A mismatching
// character is consumed without push-back.
bool ScanCursor::matchLetters(const char* letters) {
    for (; *letters; ++letters) {
        const int c = in_.get();
        if (c < 0 || lower(c) != *letters) return false;
    }
    return true;
}

// The locale's decimal point, starting at `c`. A point of several bytes that
// matches only in part loses the bytes matched before the mismatch.
bool ScanCursor::matchDecimalPoint(int& c) {
    const char* point = locale_.decimalPoint;
    while (static_cast<unsigned char>(*point) == c) {
        if (*++point == '\0') return true;
        c = in_.get();
        if (c < 0) break;
    }
    return false;
}

// glibc's "%f" collection, character by character, into float_. False on an
// input or matching failure; the value is then not stored.
bool ScanCursor::collectFloat() {
    float_.reset();
    int c = in_.get();
    std::size_t collected = 0;
    bool gotSign = false;
    if (c == '-' || c == '+') {
        float_.sign(c == '-');
        gotSign = true;
        ++collected;
        if ((c = in_.get()) < 0) return false;
    }
    if (lower(c) == 'n') {
        if (!matchLetters("an")) return false;
        float_.nan();
        return true;
    }
    if (lower(c) == 'i') {
        if (!matchLetters("nf")) return false;
        const int next = in_.get();
        if (lower(next) == 'i') {
            if (!matchLetters("nity")) return false;
        } else {
            in_.unget(next);
        }
        float_.infinity();
        return true;
    }

    bool hex = false, gotDigit = false, gotDot = false, gotExponent = false;
    int exponentChar = 'e';
    int previous = 0;  // the last character collected, exponent marker in lower case
    if (c == '0') {
        float_.mantissaDigit(c);
        ++collected;
        previous = c;
        c = in_.get();
        if (lower(c) == 'x') {
            float_.hexadecimal();
            hex = true;
            exponentChar = 'p';
            ++collected;
            previous = 'x';
            c = in_.get();
        } else {
            gotDigit = true;
        }
    }
    for (;;) {
        if (isDigit(c) || (hex && !gotExponent && isHexDigit(c))) {
            if (gotExponent)
                float_.exponentDigit(c);
            else
                float_.mantissaDigit(c);
            gotDigit = true;
        } else if (gotExponent && previous == exponentChar && (c == '-' || c == '+')) {
            float_.exponentSign(c == '-');
        } else if (gotDigit && !gotExponent && lower(c) == exponentChar) {
            gotExponent = gotDot = true;
            c = exponentChar;
        } else if (!gotDot && c >= 0 && matchDecimalPoint(c)) {
            float_.point();
            gotDot = true;
        } else {
            in_.unget(c);
            break;
        }
        ++collected;
        previous = c;
        if ((c = in_.get()) < 0) break;
    }
    const std::size_t signLength = gotSign ? 1 : 0;
    if (collected == signLength || (hex && collected == 2 + signLength)) return false;
    return true;
}

bool ScanCursor::collectInteger() {
    if (!skipSpaceBeforeConversion()) return false;
    integer_.reset();
    // In place when the digits end inside the window.
    const unsigned char* p = in_.next();
    const unsigned char* const end = in_.limit();
    if (static_cast<std::size_t>(end - p) >= kLookahead || in_.exhausted()) {
        if (p != end && (*p == '-' || *p == '+')) integer_.sign(*p++ == '-');
        const unsigned char* const digits = p;
        while (p != end && isDigit(*p) && p - digits < 18) integer_.digit(*p++);
        if (p != digits && (p != end ? !isDigit(*p) : true)) {
            if (p == end) in_.setEof();
            in_.advanceTo(p);
            return true;
        }
        integer_.reset();
    }
    int c = in_.get();
    if (c == '-' || c == '+') {
        integer_.sign(c == '-');
        c = in_.get();
    }
    bool any = false;
    for (; isDigit(c); c = in_.get()) {
        integer_.digit(c);
        any = true;
    }
    in_.unget(c);
    return any;
}

bool ScanCursor::readInt(std::int32_t& value) {
    if (!collectInteger()) return false;
    value = integer_.asInt();
    return true;
}

bool ScanCursor::readUnsigned(std::uint32_t& value) {
    if (!collectInteger()) return false;
    value = integer_.asUnsigned();
    return true;
}

}  // namespace KelpScan
