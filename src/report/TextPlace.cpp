#include "report/TextPlace.h"

#include "platform/FileOffset.h"

#include <algorithm>

namespace KelpRecord {

std::uint64_t lineOfByte(std::FILE* file, std::uint64_t offset) {
    const std::int64_t resume = KelpPlatform::tell(file);
    if (resume < 0 || !KelpPlatform::seek(file, 0, SEEK_SET)) return 0;
    std::uint64_t line = 1;
    char chunk[1 << 16];
    while (offset > 0) {
        const std::size_t want = offset < sizeof chunk ? static_cast<std::size_t>(offset) : sizeof chunk;
        const std::size_t got = std::fread(chunk, 1, want, file);
        line += static_cast<std::uint64_t>(std::count(chunk, chunk + got, '\n'));
        if (got < want) break;
        offset -= got;
    }
    // The end-of-file indicator the reader may have seen comes back with the
    // next read at the end; the position must, or the pass would go wrong.
    if (!KelpPlatform::seek(file, resume, SEEK_SET)) return 0;
    return line;
}

}  // namespace KelpRecord
