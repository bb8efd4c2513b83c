// The PLY file as the reader sees it: a stdio stream opened "rb" and read
// through one large buffer, so that per-value reads are pointer bumps rather
// than library calls. Offers the three kinds of access the reader needs:
// header lines with fgets semantics, raw bytes with fread semantics, and
// numbers with the semantics of fscanf's "%d", "%u", "%f" and "%lf".
#pragma once

#include "io/FileHandle.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace KelpPly {

class PlyInput {
public:
    PlyInput() = default;
    PlyInput(const PlyInput&) = delete;
    PlyInput& operator=(const PlyInput&) = delete;
    PlyInput(PlyInput&&) = default;
    PlyInput& operator=(PlyInput&&) = default;

    // Opens `path` with mode "rb"; false when it cannot be opened.
    bool open(const char* path);
    void close();
    bool isOpen() const { return static_cast<bool>(file_); }

    std::size_t available() const { return end_ - pos_; }
    const unsigned char* data() const { return buffer_.data() + pos_; }
    void advance(std::size_t count) { pos_ += count; }
    // Makes at least `count` bytes available unless the file ends first;
    // returns whether they are there.
    bool ensure(std::size_t count) { return available() >= count || fill(count); }

    // fread(target, 1, count): copies what is there, up to `count` bytes.
    std::size_t read(void* target, std::size_t count);
    // Reads and drops up to `count` bytes; returns how many there were.
    std::uint64_t skip(std::uint64_t count);

    int get() {
        if (pos_ == end_ && !fill(1)) return -1;
        return buffer_[pos_++];
    }
    int peek() {
        if (pos_ == end_ && !fill(1)) return -1;
        return buffer_[pos_];
    }

    // fgets(line, limit + 1, file): up to `limit` characters, ending after a
    // line feed. False when the file has ended before any character.
    bool readLine(std::string& line, std::size_t limit);

    // Bytes of the file not yet consumed, when the file's size is known;
    // otherwise the largest value.
    std::uint64_t bytesLeft() const;
    // File offset of the next byte to be consumed.
    std::uint64_t offset() const { return bufferStart_ + pos_; }

    // fscanf(file, "%d"): the value as the C library stores it (parsed as a
    // long, clamped on overflow, then cut to int). False on end of file or
    // when no digits follow.
    bool scanInt(int& value);
    // fscanf(file, "%u"): parsed as an unsigned long (a minus sign negates
    // modulo 2^64, overflow gives the largest value), then cut to unsigned.
    bool scanUnsigned(unsigned& value);
    // fscanf(file, "%f") and "%lf": the characters that glibc's scanf
    // collects, converted under the current locale's decimal point.
    bool scanFloat(float& value);
    bool scanDouble(double& value);

private:
    bool fill(std::size_t count);
    bool skipSpace();
    // In-place parses of short plain numbers: 1 read, 0 no number, -1 left
    // to the character-by-character path (nothing consumed).
    int scanPlainInteger(std::uint64_t& magnitude, bool& negative);
    // Sign and digits as strtol/strtoul read them; the magnitude saturates
    // (overflow set) past the limit for its sign. False when no digit came.
    bool scanInteger(unsigned long long positiveLimit, unsigned long long negativeLimit, bool& negative,
                     unsigned long long& magnitude, bool& overflow);
    template <typename Real>
    int scanPlainReal(Real& value);
    // Collects one floating token; empty when the input matches no number.
    bool collectFloat(std::string& text);

    static constexpr std::size_t kBufferSize = std::size_t(1) << 20;

    KelpIo::FileHandle file_;
    std::vector<unsigned char> buffer_;
    std::size_t pos_ = 0;
    std::size_t end_ = 0;
    bool ended_ = false;
    bool sizeKnown_ = false;
    std::uint64_t fileSize_ = 0;
    std::uint64_t bufferStart_ = 0;  // file offset of buffer_[0]
    std::string scratch_;
    char decimalPoint_[8] = {'.', 0};
};

}  // namespace KelpPly
