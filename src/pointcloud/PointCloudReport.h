// What the ASC and DXF readers tell the call report at their decision points.
#pragma once

#include <string>
#include <string_view>

namespace KelpPointCloud {

// Notes what the end of an ASC file did to the points, called when a line
// finds the file at its end: an empty file gives one point (0, 0, 0), a final
// line feed repeats the last point.
void noteAscEnding(bool emptyFile);

// The reason for a DXF header word that is not `expected` or, when not `read`,
// missing; `offset` is where the scan stands. Returns false.
bool failDxfHeader(bool read, std::string_view word, const char* expected, std::size_t offset);

}  // namespace KelpPointCloud
