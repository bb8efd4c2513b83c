// Sizing the point arrays ahead while an ASC file is read. Grown by half at a
// time, the position and flag arrays are copied whole at every growth, the old
// and new blocks resident together, and each new block's pages are faulted in
// again: on a large file that is a good part of the read. Once the first lines
// have shown how many bytes a line takes, the arrays are reserved for what the
// rest of a regular file holds at that length, with a margin. The contents do
// not depend on it; untouched reserve is address space, not memory.
#pragma once

#include <KelpPointSet.h>

#include <cstdint>
#include <cstdio>

namespace KelpPointCloud {

class AscSizing {
public:
    // A pipe or device gives no size and nothing is reserved ahead.
    explicit AscSizing(std::FILE* file);

    // After each line, `offset` bytes of the file consumed so far.
    void afterLine(std::uint64_t offset, KelpCore::KelpPointSet& cloud) {
        if (++lines_ == kSample) plan(offset, cloud);
    }

private:
    // Lines seen before their length is trusted.
    static constexpr std::uint64_t kSample = 4096;

    void plan(std::uint64_t offset, KelpCore::KelpPointSet& cloud) const;

    std::uint64_t fileSize_ = 0;
    std::uint64_t lines_ = 0;
};

}  // namespace KelpPointCloud
