// Sizing the point arrays ahead while an ASC or DXF file is read. Grown by
// half at a time, the position and flag arrays are copied whole at every
// growth, the old and new blocks resident together, and each new block's
// pages are faulted in again: on a large file that is a good part of the read.
// Once the first points have shown how many bytes a point takes, the arrays
// are reserved for what the rest of a regular file holds at that length, with
// a margin. The contents do not depend on it; untouched reserve is address
// space, not memory.
#pragma once

#include <KelpPointSet.h>

#include "scan/ScanSizing.h"

#include <cstdint>
#include <cstdio>

namespace KelpPointCloud {

class PointSizing {
public:
    // A pipe or device gives no size and nothing is reserved ahead. `start` is
    // the offset where the points begin (after a DXF drawing's header, whose
    // bytes would otherwise count as if they were points').
    explicit PointSizing(std::FILE* file, std::uint64_t start = 0);

    // After each point, `offset` bytes of the file consumed so far.
    void afterPoint(std::uint64_t offset, KelpCore::KelpPointSet& cloud) {
        if (++points_ == KelpScan::kSizingSample) plan(offset, cloud);
    }

private:
    void plan(std::uint64_t offset, KelpCore::KelpPointSet& cloud) const;

    std::uint64_t fileSize_ = 0;
    std::uint64_t start_ = 0;
    std::uint64_t points_ = 0;
};

}  // namespace KelpPointCloud
