// What the OBJ reader tells the call report where a statement or a face line
// did not read as written. Each is called on that path only.
#pragma once

#include "scan/ScanSource.h"

#include <cstdint>
#include <cstdio>

namespace KelpObj {

// A "v", "vt" or "vn" number that did not read (the scan at byte `offset` of
// `file`): the statement keeps the value read before. The numbers of the
// statement that runs again at the end of the file are told by that note.
void noteStaleNumber(std::FILE* file, std::uint64_t offset, const char* statement);

// `count` corner parts of a face line ending at byte `offset` recorded the
// last index read again, having no number of their own.
void noteStaleIndices(std::FILE* file, std::uint64_t offset, unsigned count);

// After a line read that filled the 2048-byte field (2047 bytes, `last` the
// final one): whether the line went on, so that its rest is read as further
// statements. It looks at the next byte, which may refill the window: the
// line read before is not valid after it.
void noteIfLineGoesOn(KelpScan::ScanSource& source, std::FILE* file, char last);

}  // namespace KelpObj
