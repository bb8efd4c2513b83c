// How much memory the machine has, for refusing results that could never fit.
#pragma once

#include <cstdint>

namespace KelpPlatform {

// Bytes of physical memory; the largest value when the system does not say.
std::uint64_t physicalMemoryBytes();

}  // namespace KelpPlatform
