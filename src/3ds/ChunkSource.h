// Block-buffered random access to a 3DS file. The chunk walk reads small
// fields and seeks often; serving both from one large block instead of a stdio
// call per field keeps the walk close to the speed of reading the bytes.
#pragma once

#include "io/ByteOrder.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace Kelp3ds {

class ChunkSource {
public:
    // Measures the file (seek to the end and back to 0). A file that cannot be
    // measured counts as empty.
    explicit ChunkSource(std::FILE* file, std::size_t blockSize = std::size_t{1} << 20);

    std::uint64_t size() const { return size_; }
    std::uint64_t tell() const { return position_; }
    // Any position is allowed, also past the end: reads there fail.
    void seek(std::uint64_t position) { position_ = position; }

    // All-or-nothing read of `count` bytes (at most the block size): false when
    // the file has fewer bytes left, and the position is then unspecified.
    bool read(void* out, std::size_t count) {
        if (position_ >= blockStart_ && position_ - blockStart_ + count <= blockLength_) {
            std::memcpy(out, block_.data() + (position_ - blockStart_), count);
            position_ += count;
            return true;
        }
        return readSlow(out, count);
    }

    // Passes over `count` bytes that are read and dropped; false when the file
    // has fewer bytes left.
    bool discard(std::uint64_t count);

    // The next byte, or -1 at the end of the file.
    int getByte() {
        unsigned char byte;
        return read(&byte, 1) ? byte : -1;
    }

    bool readU8(std::uint8_t& value) { return read(&value, 1); }
    bool readU16(std::uint16_t& value) {
        unsigned char bytes[2];
        if (!read(bytes, 2)) return false;
        value = KelpIo::loadLe16(bytes);
        return true;
    }
    bool readU32(std::uint32_t& value) {
        unsigned char bytes[4];
        if (!read(bytes, 4)) return false;
        value = KelpIo::loadLe32(bytes);
        return true;
    }
    bool readF32(float& value) {
        unsigned char bytes[4];
        if (!read(bytes, 4)) return false;
        value = KelpIo::loadLeFloat(bytes);
        return true;
    }

private:
    bool readSlow(void* out, std::size_t count);

    std::FILE* file_;
    std::uint64_t size_ = 0;
    std::uint64_t position_ = 0;
    std::vector<unsigned char> block_;
    std::uint64_t blockStart_ = 0;
    std::size_t blockLength_ = 0;
};

}  // namespace Kelp3ds
