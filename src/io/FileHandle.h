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

inline FileHandle openFile(const char* path, const char* mode) {
    return FileHandle(path ? std::fopen(path, mode) : nullptr);
}

}  // namespace KelpIo
