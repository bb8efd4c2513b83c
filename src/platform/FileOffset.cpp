#include "platform/FileOffset.h"

#include <sys/stat.h>
#include <sys/types.h>

namespace KelpPlatform {

#if defined(_WIN32)
std::int64_t tell(std::FILE* file) { return _ftelli64(file); }

bool seek(std::FILE* file, std::int64_t offset, int whence) { return _fseeki64(file, offset, whence) == 0; }

FileStatus statusOf(std::FILE* file) {
    FileStatus status;
    struct _stat64 info {};
    if (_fstat64(_fileno(file), &info) != 0) return status;
    status.known = true;
    status.regular = (info.st_mode & _S_IFMT) == _S_IFREG;
    status.directory = (info.st_mode & _S_IFMT) == _S_IFDIR;
    status.size = status.regular ? static_cast<std::int64_t>(info.st_size) : 0;
    return status;
}

PathKind pathKind(const char* path) {
    struct _stat64 info {};
    if (!path || _stat64(path, &info) != 0) return PathKind::Missing;
    if ((info.st_mode & _S_IFMT) == _S_IFREG) return PathKind::Regular;
    return (info.st_mode & _S_IFMT) == _S_IFDIR ? PathKind::Directory : PathKind::Other;
}
#else
static_assert(sizeof(off_t) == 8, "64-bit file offsets");

std::int64_t tell(std::FILE* file) { return ftello(file); }

bool seek(std::FILE* file, std::int64_t offset, int whence) {
    return fseeko(file, static_cast<off_t>(offset), whence) == 0;
}

FileStatus statusOf(std::FILE* file) {
    FileStatus status;
    struct stat info {};
    if (fstat(fileno(file), &info) != 0) return status;
    status.known = true;
    status.regular = S_ISREG(info.st_mode);
    status.directory = S_ISDIR(info.st_mode);
    status.size = status.regular ? static_cast<std::int64_t>(info.st_size) : 0;
    return status;
}

PathKind pathKind(const char* path) {
    struct stat info {};
    if (!path || stat(path, &info) != 0) return PathKind::Missing;
    if (S_ISREG(info.st_mode)) return PathKind::Regular;
    return S_ISDIR(info.st_mode) ? PathKind::Directory : PathKind::Other;
}
#endif

}  // namespace KelpPlatform
