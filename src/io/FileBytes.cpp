#include "io/FileBytes.h"

#include "platform/FileOffset.h"

namespace KelpIo {

void readRemaining(std::FILE* file, std::string& bytes) {
    bytes.clear();
    const KelpPlatform::FileStatus status = KelpPlatform::statusOf(file);
    if (status.regular && status.size > 0) {
        const std::int64_t here = KelpPlatform::tell(file);
        if (here >= 0 && status.size > here) bytes.reserve(static_cast<std::size_t>(status.size - here));
    }
    char chunk[1 << 16];
    for (;;) {
        const std::size_t got = std::fread(chunk, 1, sizeof chunk, file);
        bytes.append(chunk, got);
        if (got < sizeof chunk) break;
    }
}

}  // namespace KelpIo
