#include "pointcloud/PointSizing.h"

#include "platform/FileOffset.h"
#include "scan/ScanSizing.h"

namespace KelpPointCloud {

PointSizing::PointSizing(std::FILE* file, std::uint64_t start) : start_(start) {
    const KelpPlatform::FileStatus status = KelpPlatform::statusOf(file);
    if (status.regular && status.size > 0) fileSize_ = static_cast<std::uint64_t>(status.size);
}

void PointSizing::plan(std::uint64_t offset, KelpCore::KelpPointSet& cloud) const {
    if (fileSize_ <= offset || offset <= start_) return;
    // Never more points than the rest holds at eight bytes a point (an ASC
    // "0 0 0 \n" and a little, or a DXF "POINT\n0\n"). Beyond the reserve
    // the arrays grow as usual.
    const std::uint64_t target = KelpScan::expectedCount(cloud.vertices.size(), KelpScan::kSizingSample,
                                                         offset - start_, fileSize_ - offset, 8.0);
    if (target <= cloud.vertices.capacity() + cloud.vertices.capacity() / 2 || target > UINT32_MAX) return;
    cloud.vertices.reserve(static_cast<std::size_t>(target));
    cloud.vertexFlags.reserve(static_cast<std::size_t>(target));
}

}  // namespace KelpPointCloud
