#include "io/FileHandle.h"

#include "platform/FileOffset.h"

#include <cerrno>

namespace KelpIo {

FileHandle openFile(const char* path, const char* mode) {
    FileHandle file(path ? std::fopen(path, mode) : nullptr);
    if (file && KelpPlatform::statusOf(file.get()).directory) {
        file.reset();
        errno = EISDIR;
    } else if (!file && path) {
        // Some systems refuse to open a directory at all (EACCES): the reason is
        // given the same way on every system.
        const int openError = errno;
        errno = KelpPlatform::pathKind(path) == KelpPlatform::PathKind::Directory ? EISDIR : openError;
    }
    return file;
}

FileKind fileKind(const char* path) {
    switch (KelpPlatform::pathKind(path)) {
        case KelpPlatform::PathKind::Missing: return FileKind::Missing;
        case KelpPlatform::PathKind::Regular: return FileKind::Regular;
        case KelpPlatform::PathKind::Directory:
        case KelpPlatform::PathKind::Other: break;
    }
    return FileKind::Other;
}

}  // namespace KelpIo
