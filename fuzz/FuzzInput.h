// Shared by the fuzz targets: the readers take paths, so every input is
// written to a private temporary file first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace KelpFuzz {

// A directory of this process's own, created on first use.
const std::string& privateDir();

// Writes the bytes to `name` inside the private directory; returns the path.
// Also picks the read window the text readers use for these bytes (a few
// bytes for half the inputs, the default for the rest).
std::string writeInput(const std::string& name, const std::uint8_t* data, std::size_t size);

// Formats the call report of the read that returned `result`, and aborts
// when the report disagrees with it: a false without a reason, or a reason
// beside a true.
void checkReport(bool result);

}  // namespace KelpFuzz
