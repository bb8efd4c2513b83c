// The OBJ reader scans the whole file in memory, but its results are those of
// the classic stdio loop (fscanf "%s" / "%f", fgets into a fixed buffer) as
// glibc runs it: the same characters consumed, the same values stored, the
// same end-of-file indicator. That includes the lossy corners of scanf: it can
// push back only one character, so the characters of a failed number are gone
// ("-x" loses the "-", "na1" loses all three), and "1e" reads as 1 having
// eaten the "e".
#pragma once

#include <cstddef>
#include <cstdint>

namespace KelpObj {

// A read-only stream over bytes in memory with the consumption rules of a
// stdio FILE read through fscanf and fgets.
class ObjStream {
public:
    // The white-space set and the decimal point are taken from the process
    // locale now, as fscanf would take them.
    ObjStream(const char* begin, const char* end);

    // feof(): set once a read has tried to go past the last byte.
    bool eof() const { return eof_; }

    // fscanf(file, "%s", word): skips white space and takes the following run
    // of non-space bytes. False (the caller's word unchanged) when the input
    // ends first. The word may contain zero bytes; as a C string it ends at
    // the first one.
    bool readWord(const char*& wordBegin, const char*& wordEnd);

    // fscanf(file, "%f", &value): true and `value` stored when a number was
    // converted; false leaves `value` as it was.
    bool readFloat(float& value);

    // fgets(buffer, capacity, file): the bytes that would be stored (at most
    // capacity - 1, up to and including a line feed). False when nothing was
    // stored (fgets returned NULL).
    bool readLine(std::size_t capacity, const char*& lineBegin, const char*& lineEnd);

    bool isSpace(unsigned char c) const { return space_[c]; }

    // Position of the next unread byte (for tests).
    std::size_t offset() const { return static_cast<std::size_t>(pos_ - begin_); }

private:
    static constexpr int kEnd = -1;
    int get() {
        if (pos_ == end_) {
            eof_ = true;
            return kEnd;
        }
        return static_cast<unsigned char>(*pos_++);
    }
    // Pushes back the one character just read (never the end marker).
    void unget(int c) {
        if (c != kEnd) --pos_;
    }
    bool matchLetters(const char* lower);

    const char* begin_;
    const char* pos_;
    const char* end_;
    bool eof_ = false;
    char decimalPoint_ = '.';
    bool space_[256] = {};
};

// sscanf(text, "%d", &value) on the bytes [begin, end): an optional sign and
// decimal digits, converted as strtol does (saturating at the range of long)
// and then narrowed to int as glibc stores it. False when no digit follows.
bool scanDecimalInt(const char* begin, const char* end, std::int32_t& value);

}  // namespace KelpObj
