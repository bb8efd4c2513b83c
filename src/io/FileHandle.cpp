#include "io/FileHandle.h"

#include <sys/stat.h>

#include <cerrno>

namespace KelpIo {

FileHandle openFile(const char* path, const char* mode) {
    FileHandle file(path ? std::fopen(path, mode) : nullptr);
    struct stat status;
    if (file && fstat(fileno(file.get()), &status) == 0 && S_ISDIR(status.st_mode)) {
        file.reset();
        errno = EISDIR;
    }
    return file;
}

FileKind fileKind(const char* path) {
    struct stat status;
    if (!path || stat(path, &status) != 0) return FileKind::Missing;
    return S_ISREG(status.st_mode) ? FileKind::Regular : FileKind::Other;
}

}  // namespace KelpIo
