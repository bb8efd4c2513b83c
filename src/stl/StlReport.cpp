// What the STL readers tell the call report: the reasons and notes of their
// decision points, with the numbers in the form the report shows them.
#include "report/Recorder.h"
#include "report/TextPlace.h"
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

bool failCorner(std::FILE* file, std::uint64_t offset, std::ptrdiff_t corner, std::size_t facetsBefore) {
    return KelpRecord::fail(Code::StlAsciiCorner, {}, KelpRecord::lineOfByte(file, offset),
                            static_cast<std::uint64_t>(corner) + 1, facetsBefore + 1);
}

void noteLastFacetDropped() { KelpRecord::note(Code::StlAsciiLastFacet); }

void noteWordsPassedOver(std::FILE* file, std::uint64_t offset) {
    KelpRecord::noteAt(Code::StlAsciiWordsPassedOver, file, offset);
}

}  // namespace KelpStl
