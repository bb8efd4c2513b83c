// What the STL readers tell the call report: the reasons and notes of their
// decision points, with the numbers in the form the report shows them.
#include "report/Recorder.h"
#include "stl/StlReaders.h"

#include <algorithm>
#include <cstdio>

namespace KelpStl {

using KelpRecord::Code;

void noteHeaderCount(std::uint32_t count) {
    if (visitedTriangles(count) != count) KelpRecord::note(Code::StlBinaryHugeCount, {}, count);
    // 3 n corners no longer fit 32 bits from here on.
    if (count > 0xFFFFFFFFu / 3) KelpRecord::note(Code::StlBinaryWrappedCorners, {}, count, std::uint32_t{3u * count});
}

void noteShortFile(std::uint32_t announced, std::uint32_t whole, std::size_t extraBytes) {
    // A record is a 12-byte normal, 36 bytes of corners and a 2-byte count.
    const bool insideCorners = extraBytes > 12 && extraBytes < 48;
    KelpRecord::note(insideCorners ? Code::StlBinaryCutCorners : Code::StlBinaryShort, {}, announced, whole,
                     extraBytes, announced - whole);
}

namespace {
// The line of byte `offset`: the file is streamed, not held, so the failing
// read counts the line feeds before it once more from the start (0 where the
// file cannot be read again).
std::uint64_t lineAt(std::FILE* file, std::uint64_t offset) {
    if (std::fseek(file, 0, SEEK_SET) != 0) return 0;
    std::uint64_t line = 1;
    char chunk[1 << 16];
    while (offset > 0) {
        const std::size_t want = offset < sizeof chunk ? static_cast<std::size_t>(offset) : sizeof chunk;
        const std::size_t got = std::fread(chunk, 1, want, file);
        line += static_cast<std::uint64_t>(std::count(chunk, chunk + got, '\n'));
        if (got < want) break;
        offset -= got;
    }
    return line;
}
}  // namespace

bool failCorner(std::FILE* file, std::uint64_t offset, std::ptrdiff_t corner, std::size_t facetsBefore) {
    return KelpRecord::fail(Code::StlAsciiCorner, {}, lineAt(file, offset), static_cast<std::uint64_t>(corner) + 1,
                            facetsBefore + 1);
}

void noteLastFacetDropped() { KelpRecord::note(Code::StlAsciiLastFacet); }

}  // namespace KelpStl
