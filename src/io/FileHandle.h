// An owning stdio handle: closed when it goes out of scope, so that every
// return path of a reader releases its file.
#pragma once

#include <cstdio>
#include <memory>

namespace KelpIo {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

// std::fopen, except that a directory is a file that cannot be opened (POSIX
// lets one be opened for reading, and then every read of it fails). Pipes,
// FIFOs and devices open as fopen opens them.
FileHandle openFile(const char* path, const char* mode);

// What `path` names, after symbolic links: nothing that stat finds, a regular
// file, or anything else (a directory, a device, a FIFO). Side files that a
// file's content names (a material library, a texture) are opened only when
// regular: a device such as /dev/zero never ends, and a FIFO blocks the open
// until something writes to it.
enum class FileKind { Missing, Regular, Other };
FileKind fileKind(const char* path);

}  // namespace KelpIo
