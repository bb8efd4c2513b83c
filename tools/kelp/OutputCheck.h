// The check after `kelp convert` writes: the writers report success once the
// file was created, so an output cut short (a full disk) only shows when it is
// read back.
#pragma once

#include "FormatTable.h"

#include <cstdint>
#include <string>

namespace KelpTool {

// What reading a converted file back must give.
struct ExpectedOutput {
    std::uint32_t vertices = 0;
    std::uint32_t faces = 0;
    bool compareVertices = true;  // not for STL, whose reader welds
    std::uint64_t stlBytes = 0;   // STL only: 84 + 50 x faces
};

// The counts that `target`'s reader gives for what was just written from a
// container with `vertices` vertices and `faces` faces (for STL: `faces` is
// the count of faces written).
ExpectedOutput expectedOutput(const Format& target, std::uint32_t vertices, std::uint32_t faces);

// Reads `path` back with `target`'s reader; empty when it matches (or is not
// a regular file, which cannot be read back), otherwise what differs.
std::string checkOutput(const Format& target, const std::string& path, const ExpectedOutput& expected);

}  // namespace KelpTool
