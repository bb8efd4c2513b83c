// In-memory replacement for the fscanf calls of the ASCII STL grammar. It
// consumes exactly the characters that the C runtime's scanf would ("%*s",
// white-space directives and "%f", with scanf's one character of push-back)
// and keeps the stream's end-of-file indicator, which the grammar tests.
#pragma once

#include <string>

namespace KelpStl {

class ScanCursor {
public:
    // `decimalPoint` is the current locale's, as scanf's %f uses it.
    ScanCursor(const char* begin, const char* end, char decimalPoint)
        : cursor_(begin), end_(end), decimalPoint_(decimalPoint) {}

    // Where the next read starts.
    const char* position() const { return cursor_; }

    // The end-of-file indicator: set once a read was attempted at the end.
    bool atEnd() const { return eof_; }

    // Consumes characters up to and including the next line feed, or to the end.
    void skipLine();

    // A white-space directive: consumes any run of white space.
    void skipSpace();

    // "%*s": white space, then one word. False (input failure) at the end.
    bool skipWord();

    // "%f": white space, then the longest run scanf collects for a float,
    // converted as strtof would. False on input or matching failure, with the
    // characters scanf would have consumed consumed.
    bool readFloat(float& value);

    // "%*s" `words` times with white space between, then "%f %f %f\n".
    // True only when all three numbers were converted.
    bool wordsThenTriple(int words, float (&values)[3]);

private:
    static bool isSpace(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
    static int lower(int c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; }

    int get() {
        if (cursor_ == end_) {
            eof_ = true;
            return -1;
        }
        return static_cast<unsigned char>(*cursor_++);
    }
    // scanf's push-back of the last character read (never of the end).
    void unget(int c) {
        if (c >= 0) --cursor_;
    }
    bool expect(const char* letters);
    bool convert(const char* begin, bool plainDecimal, float& value);

    const char* cursor_;
    const char* end_;
    char decimalPoint_;
    bool eof_ = false;
    std::string scratch_;
};

}  // namespace KelpStl
