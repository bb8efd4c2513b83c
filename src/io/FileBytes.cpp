#include "io/FileBytes.h"

#include <sys/stat.h>

namespace KelpIo {

void readRemaining(std::FILE* file, std::string& bytes) {
    bytes.clear();
    struct stat info {};
    if (fstat(fileno(file), &info) == 0 && S_ISREG(info.st_mode) && info.st_size > 0) {
        const long here = std::ftell(file);
        if (here >= 0 && info.st_size > here) bytes.reserve(static_cast<std::size_t>(info.st_size - here));
    }
    char chunk[1 << 16];
    for (;;) {
        const std::size_t got = std::fread(chunk, 1, sizeof chunk, file);
        bytes.append(chunk, got);
        if (got < sizeof chunk) break;
    }
}

}  // namespace KelpIo
