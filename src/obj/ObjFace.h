// The corners of one "f" statement, read from the rest of its line the way
// sscanf walks a fixed line buffer.
#pragma once

#include "scan/ScanLocale.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace KelpObj {

// Corner indices of the face being parsed, 0-based as stored in the mesh:
// the first `vertexCount` entries of `vertices` and the first
// `texCoordCount` of `texCoords`. The storage is sized once per line length
// and reused, so that a corner costs a store, not an append.
struct ObjFaceCorners {
    std::vector<std::uint32_t> vertices;
    std::vector<std::uint32_t> texCoords;
    std::size_t vertexCount = 0;
    std::size_t texCoordCount = 0;
    unsigned staleIndices = 0;  // parts without a number, which recorded the last index read
};

// Parses the bytes that fgets stored for the rest of an "f" line
// ([line, line + length); the buffer behind them counts as zero bytes).
// Each turn takes the first word at the current offset and then advances the
// offset by the word's length plus one, so extra blanks make a word count
// twice. `lastIndex` is the value of the last "%d" that converted; it is
// carried across components, corners and faces and recorded wherever a
// number cannot be read. Negative numbers count back from `vertexCount`, for
// texture indices too. `corners` is emptied first. White space is the
// locale's, as sscanf sees it.
void parseFaceLine(const KelpScan::ScanLocale& locale, const char* line, std::size_t length,
                   std::uint32_t vertexCount, std::int32_t& lastIndex, ObjFaceCorners& corners);

}  // namespace KelpObj
