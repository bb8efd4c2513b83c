// The PLY file as the reader sees it: a stdio stream opened "rb" and read
// through the scanning core's window, so that per-value reads are pointer
// bumps rather than library calls. Offers the three kinds of access the reader
// needs: header lines with fgets semantics, raw bytes with fread semantics,
// and numbers with the semantics of fscanf's "%d", "%u", "%f" and "%lf".
#pragma once

#include "io/FileHandle.h"
#include "scan/ScanCursor.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace KelpPly {

class PlyInput {
public:
    PlyInput() = default;
    PlyInput(const PlyInput&) = delete;
    PlyInput& operator=(const PlyInput&) = delete;
    PlyInput(PlyInput&&) = default;
    PlyInput& operator=(PlyInput&&) = default;

    // Opens `path` with mode "rb"; false when it cannot be opened. Numbers
    // are read under the locale in force now, as fscanf would.
    bool open(const char* path);
    void close();
    bool isOpen() const { return static_cast<bool>(file_); }

    std::size_t available() const { return source_->available(); }
    const unsigned char* data() const { return source_->next(); }
    void advance(std::size_t count) { source_->advanceTo(source_->next() + count); }
    // Makes at least `count` bytes available unless the file ends first;
    // returns whether they are there.
    bool ensure(std::size_t count) { return source_->ensure(count); }

    // fread(target, 1, count): copies what is there, up to `count` bytes.
    std::size_t read(void* target, std::size_t count);
    // Reads and drops up to `count` bytes; returns how many there were.
    std::uint64_t skip(std::uint64_t count);

    // fgets(line, limit + 1, file): up to `limit` characters, ending after a
    // line feed. False when the file has ended before any character.
    bool readLine(std::string& line, std::size_t limit);

    // Bytes of the file not yet consumed, when the file's size is known;
    // otherwise the largest value.
    std::uint64_t bytesLeft() const;
    // File offset of the next byte to be consumed.
    std::uint64_t offset() const { return source_->offset(); }

    // fscanf(file, "%d"), "%u", "%f" and "%lf".
    bool scanInt(int& value) { return cursor_->readInt(value); }
    bool scanUnsigned(unsigned& value) { return cursor_->readUnsigned(value); }
    bool scanFloat(float& value) { return cursor_->readFloat(value); }
    bool scanDouble(double& value) { return cursor_->readDouble(value); }
    KelpScan::ScanCursor& cursor() { return *cursor_; }

private:
    KelpIo::FileHandle file_;
    std::unique_ptr<KelpScan::ScanSource> source_;
    std::unique_ptr<KelpScan::ScanCursor> cursor_;
    bool sizeKnown_ = false;
    std::uint64_t fileSize_ = 0;
};

}  // namespace KelpPly
