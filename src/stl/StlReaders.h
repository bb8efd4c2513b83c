// The STL pipeline behind KelpReadStl: the binary/ASCII decision, the two
// readers of a triangle soup (triangle k uses vertices 3k, 3k+1, 3k+2) and the
// welding that merges its bit-identical corners: after the ASCII read, and
// during the binary one, which never builds the soup itself.
#pragma once

#include <KelpCore.h>

// The readers' progress lines go through printProgress (standard output or the host's sink).
#include "frame/ProgressLines.h"
#include "io/ByteOrder.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

namespace KelpStl {

// Size of the fixed header, of the count field and of one binary triangle record.
inline constexpr std::uint32_t kHeaderBytes = 80;
inline constexpr std::uint32_t kCountEnd = 84;
inline constexpr std::uint32_t kRecordBytes = 50;

// Decides binary (true) or ASCII on an open handle: the file size against
// 84 + 50 n in wrapping 32-bit arithmetic, then any byte above 127 in offsets
// 84 to 211 also means binary. Bytes the file does not have count as 0.
bool looksBinary(std::FILE* file);

class SoupWelder;

// Both readers keep the mesh's attribute bits. The binary one reads every
// triangle of an open file, printing "OpenBinary::fn=%d" and
// "OpenBinary::read end", and welds while it reads: finish() on the welder it
// returns stores the soup of the file's triangles as weldSoup would leave it.
// The ASCII one leaves the unwelded soup, and fails when a facet's corner
// does not parse, leaving the mesh as it was. Neither switches the locale:
// KelpReadStl does, around each.
std::unique_ptr<SoupWelder> readBinaryStl(std::FILE* file);
bool readAsciiStl(std::FILE* file, KelpCore::KelpTriMesh* mesh);

// The readers' entries in the call report (StlReport.cpp): a header count
// the loop cannot read as it stands, a binary file shorter than its count
// (`whole` records and `extraBytes` of the next), an ASCII corner that does
// not parse (`corner` 0 to 2 of the facet after `facetsBefore`, the scan
// standing at byte `offset` of `file`; false), an ASCII file ending right
// after its last facet's last word, words that are not a facet's normal
// passed over (the scan at byte `offset`).
void noteHeaderCount(std::uint32_t count);
void noteShortFile(std::uint32_t announced, std::uint32_t whole, std::size_t extraBytes);
bool failCorner(std::FILE* file, std::uint64_t offset, std::ptrdiff_t corner, std::size_t facetsBefore);
void noteLastFacetDropped();
void noteWordsPassedOver(std::FILE* file, std::uint64_t offset);

// Number of triangles the binary read loop visits for a header count: the loop
// compares as signed 32-bit numbers, so counts of 2^31 and more visit none.
inline std::uint32_t visitedTriangles(std::uint32_t count) {
    return count < 0x80000000u ? count : 0u;
}

// Merges vertices whose positions are identical bit for bit into the lowest-
// indexed one, keeps the survivors in order of first appearance and rebuilds
// every face from the soup layout (face k from vertices 3k, 3k+1, 3k+2). Calls
// the mesh's reset() just before it stores the new arrays.
void weldSoup(KelpCore::KelpTriMesh* mesh);

// The welding of weldSoup fed in pieces: the soup's vertices in index order,
// then finish() stores the result in the mesh (reset() first) and prints
// "RemoveRedundant::End". Positions past `vertexTotal` are ignored, and faces
// that were not fed in full name kNoVertex for their missing corners.
// `expectedPositions` only sizes the working memory.
class SoupWelder {
public:
    SoupWelder(std::size_t vertexTotal, std::uint32_t faceTotal, std::size_t expectedPositions);
    ~SoupWelder();
    SoupWelder(const SoupWelder&) = delete;
    SoupWelder& operator=(const SoupWelder&) = delete;

    void addRun(const KelpCore::Vec3f* positions, std::size_t count);
    // `times` triangles with the same three corners, as addRun would take them.
    void addRepeated(const KelpCore::Vec3f* corners, std::uint32_t times);
    void finish(KelpCore::KelpTriMesh* mesh);

private:
    struct State;
    std::unique_ptr<State> state_;
};

// Face corner value for a soup position that lies beyond the vertex array
// (only possible when 3 n wrapped in 32 bits): it names no vertex.
inline constexpr std::uint32_t kNoVertex = 0xFFFFFFFFu;

static_assert(sizeof(KelpCore::Vec3f) == 12, "positions are stored as three packed floats");

// Three corners (36 bytes of little-endian floats) into three positions, and back.
inline void loadCorners(KelpCore::Vec3f* corners, const unsigned char* bytes) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    for (int c = 0; c < 3; ++c)
        for (int a = 0; a < 3; ++a) corners[c][a] = KelpIo::loadLeFloat(bytes + 12 * c + 4 * a);
#else
    std::memcpy(corners, bytes, 36);
#endif
}

inline void storePosition(unsigned char* bytes, const KelpCore::Vec3f& position) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    for (int a = 0; a < 3; ++a) KelpIo::storeLeFloat(bytes + 4 * a, position[a]);
#else
    std::memcpy(bytes, &position, 12);
#endif
}

}  // namespace KelpStl
