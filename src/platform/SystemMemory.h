// How much memory the machine has, for refusing results that could never fit.
#pragma once

#include <cstdint>

namespace KelpPlatform {

// Bytes of physical memory; the largest value when the system does not say.
std::uint64_t physicalMemoryBytes();

// Hands the free pages that the allocator keeps in its heap back to the
// system (glibc keeps blocks below its mmap threshold resident after they are
// freed); nothing where the allocator offers no such call.
void releaseFreeHeapPages();

}  // namespace KelpPlatform
