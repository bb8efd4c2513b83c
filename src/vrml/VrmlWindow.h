// The lexer's character classes, and the tokens that the VRML reader takes
// where they lie in its read window instead of byte by byte.
#pragma once

#include "vrml/VrmlReader.h"

#include <cstdint>
#include <cstring>

namespace KelpVrml {

inline bool isDigit(int c) { return c >= '0' && c <= '9'; }
inline bool isLetter(int c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
inline bool isWhitespace(int c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; }
inline bool isNumberChar(int c) { return c == '-' || c == '.' || isDigit(c); }
inline bool isWordChar(int c) { return isLetter(c) || isDigit(c) || c == '_'; }

// Passes the blanks before `p + 8`, of which one at least is not a blank
// (`eight` holds those bytes, each xor-ed with a blank).
inline const unsigned char* passBlanks(const unsigned char* p, std::uint64_t eight) {
#if defined(__GNUC__) && defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    return p + __builtin_ctzll(eight) / 8;
#else
    static_cast<void>(eight);
    while (*p == ' ') ++p;
    return p;
#endif
}

enum class WindowKind { Char, Number, Word };

struct VrmlWindowToken {
    WindowKind kind;
    const unsigned char* begin;  // its first byte
    const unsigned char* end;    // past its last byte: a number's or word's terminator
    const unsigned char* next;   // where the next token's white space starts
    int lines;                   // line feeds in the white space before it
};

// The token after the white space at `p`, when it ends inside [p, end): a
// punctuation character, or a number or word whose terminating byte is in
// the window too (a number or word takes that byte and pushes it back, so
// the next token starts on it). False for a comment, a string, a zero or
// high byte, a token longer than the token buffer, or the window's edge:
// those the byte-wise reader handles.
inline bool scanWindowToken(const unsigned char* p, const unsigned char* end, VrmlWindowToken& found) {
    int lines = 0;
    for (;;) {
        // Runs of blanks (indentation) eight at a time.
        while (end - p >= 8) {
            std::uint64_t eight;
            std::memcpy(&eight, p, sizeof eight);
            const std::uint64_t other = eight ^ 0x2020202020202020u;
            if (other != 0) {
                p = passBlanks(p, other);
                break;
            }
            p += 8;
        }
        if (p == end || !isWhitespace(*p)) break;
        lines += *p++ == '\n';
    }
    if (p == end) return false;
    const int first = *p;
    found.begin = p;
    found.lines = lines;
    const unsigned char* q = p + 1;
    if (isNumberChar(first)) {
        found.kind = WindowKind::Number;
        if (q != end && *q == 'x') ++q;
        while (q != end && isNumberChar(*q)) ++q;
    } else if (isLetter(first) || first == '_') {
        found.kind = WindowKind::Word;
        while (q != end && isWordChar(*q)) ++q;
    } else {
        if (first == '#' || first == '"' || first == 0 || first >= 0x80) return false;
        found.kind = WindowKind::Char;
        found.end = found.next = q;
        return true;
    }
    if (q == end || q - p >= kTokenBufferSize - 1) return false;
    found.end = found.next = q;
    return true;
}

}  // namespace KelpVrml
