#include "io/FileHandle.h"

#include "platform/FileOffset.h"

#include <cerrno>

namespace KelpIo {

FileHandle openFile(const char* path, const char* mode) {
    FileHandle file(path ? std::fopen(path, mode) : nullptr);
    if (file && KelpPlatform::statusOf(file.get()).directory) {
        file.reset();
        errno = EISDIR;
    }
    return file;
}

bool isRegularFile(const char* path) {
    return KelpPlatform::isRegularPath(path);
}

}  // namespace KelpIo
