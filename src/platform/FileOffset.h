// 64-bit positions and sizes of stdio files, so files over 2 GiB work with
// either runtime.
#pragma once

#include <cstdint>
#include <cstdio>

namespace KelpPlatform {

// ftell/fseek with 64-bit offsets; -1 / false on failure like their models.
std::int64_t tell(std::FILE* file);
bool seek(std::FILE* file, std::int64_t offset, int whence);

// What the file behind an open stream is.
struct FileStatus {
    bool known = false;  // the system answered
    bool regular = false;
    bool directory = false;
    std::int64_t size = 0;  // bytes, for a regular file
};
FileStatus statusOf(std::FILE* file);

// What `path` names: nothing, a regular file, a directory, or anything else
// (a device, a FIFO).
enum class PathKind { Missing, Regular, Directory, Other };
PathKind pathKind(const char* path);

}  // namespace KelpPlatform
