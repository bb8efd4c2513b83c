// Whole-file reads for the readers that scan a file in memory.
#pragma once

#include <cstdio>
#include <string>

namespace KelpIo {

// Reads everything that is left in `file` into `bytes` (replacing it). A read
// error ends the read early, keeping what arrived, as an unchecked stdio read
// loop would.
void readRemaining(std::FILE* file, std::string& bytes);

}  // namespace KelpIo
