// The two shapes of `kelp info` output.
#pragma once

#include "Summary.h"

#include <cstdio>
#include <vector>

namespace KelpTool {

// One aligned, human-readable table for all files.
void printTable(std::FILE* out, const std::vector<Summary>& summaries);

// One JSON object on one line.
void printJson(std::FILE* out, const Summary& summary);

}  // namespace KelpTool
