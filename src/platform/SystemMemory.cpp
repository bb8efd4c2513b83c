#include "platform/SystemMemory.h"

#include <limits>

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#else
#include <unistd.h>
#endif
#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace KelpPlatform {

std::uint64_t physicalMemoryBytes() {
#if defined(_WIN32)
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    if (!GlobalMemoryStatusEx(&status) || status.ullTotalPhys == 0) return std::numeric_limits<std::uint64_t>::max();
    return status.ullTotalPhys;
#else
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGE_SIZE);
    if (pages <= 0 || pageSize <= 0) return std::numeric_limits<std::uint64_t>::max();
    return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize);
#endif
}

void releaseFreeHeapPages() {
#if defined(__GLIBC__)
    malloc_trim(0);
#endif
}

}  // namespace KelpPlatform
