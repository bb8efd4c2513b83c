// What the ASC and DXF readers tell the call report at their decision points.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace KelpPointCloud {

// Notes what the end of an ASC file did to the points, called when a line
// finds the file at its end: an empty file gives one point (0, 0, 0), a final
// line feed repeats the last point.
void noteAscEnding(bool emptyFile);

// A line whose coordinate did not read, the scan at byte `offset` of `file`:
// its point keeps the values the line before left.
void noteAscStaleCoordinate(std::FILE* file, std::uint64_t offset);

// Inside a POINT, the scan at byte `offset`: the value of coordinate `axis`
// (group "10", "20" or "30") did not read as a number; a word "0" ended the
// point with only the coordinate groups marked in `seen` (bit 0 for "10" ...)
// read: with none, the "0" is taken for a value such as the layer "0".
void noteDxfStaleCoordinate(std::FILE* file, std::uint64_t offset, int axis);
void noteDxfPointEnding(std::FILE* file, std::uint64_t offset, unsigned seen);

// The reason for a DXF header word that is not `expected` or, when not `read`,
// missing; `offset` is where the scan stands. Returns false.
bool failDxfHeader(bool read, std::string_view word, const char* expected, std::size_t offset);

}  // namespace KelpPointCloud
