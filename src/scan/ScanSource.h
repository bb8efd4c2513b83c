// A file read through one bounded window that is refilled as the reader moves
// on, so that no reader holds a whole file: memory stays the same for a file
// of 1 KB and one of 1 GB, and pipes, FIFOs and endless devices read like
// regular files. A text in memory can be scanned through the same interface
// (then nothing is ever refilled and nothing is copied: the text must outlive
// the source).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace KelpScan {

class ScanSource {
public:
    // Bytes asked of the file per refill. Tests and fuzz builds shrink it (see
    // setChunkForTesting) so that refills fall inside tokens.
    static constexpr std::size_t kDefaultChunk = std::size_t(1) << 18;
    // Room kept beyond a refill for what a caller asks to see at once
    // (ensure); a larger request widens the window to it.
    static constexpr std::size_t kMaxLookahead = 4096;

    explicit ScanSource(std::FILE* file);
    ScanSource(const char* begin, const char* end);
    ScanSource(const ScanSource&) = delete;
    ScanSource& operator=(const ScanSource&) = delete;

    // Unread bytes in the window: [next(), limit()).
    const unsigned char* next() const { return pos_; }
    const unsigned char* limit() const { return end_; }
    std::size_t available() const { return static_cast<std::size_t>(end_ - pos_); }
    void advanceTo(const unsigned char* p) { pos_ = p; }

    // getc: the next byte, or -1 at the end (which sets the end-of-file
    // indicator, as a stdio read at the end does).
    int get() {
        if (pos_ == end_ && !refill()) {
            eof_ = true;
            return -1;
        }
        return *pos_++;
    }
    // ungetc of the byte get() just returned (the end marker is not pushed back).
    void unget(int c) {
        if (c >= 0) --pos_;
    }

    // Reads more into the window; false when the file has nothing more.
    bool refill();
    // Makes `count` bytes visible unless the file ends first; returns whether
    // they are there.
    bool ensure(std::size_t count) { return available() >= count || fillTo(count); }

    // No byte beyond the window will ever come.
    bool exhausted() const { return exhausted_; }
    // feof: a read tried to go past the last byte. Sticky, as in stdio.
    bool eof() const { return eof_; }
    void setEof() { eof_ = true; }

    // Bytes consumed so far (stdio's ftell on a file read from its start).
    std::uint64_t offset() const { return consumedBefore_ + static_cast<std::uint64_t>(pos_ - base_); }

    // The refill size that new sources take; 0 restores the default.
    static void setChunkForTesting(std::size_t chunk);

private:
    bool fillTo(std::size_t count);

    std::FILE* file_ = nullptr;
    std::size_t chunk_;
    std::vector<unsigned char> window_;
    const unsigned char* base_ = nullptr;  // where offset() counts from
    const unsigned char* pos_ = nullptr;
    const unsigned char* end_ = nullptr;
    std::uint64_t consumedBefore_ = 0;
    bool exhausted_ = false;
    bool eof_ = false;
};

}  // namespace KelpScan
