#include "pointcloud/PointSizing.h"

#include "platform/FileOffset.h"

namespace KelpPointCloud {

PointSizing::PointSizing(std::FILE* file, std::uint64_t start) : start_(start) {
    const KelpPlatform::FileStatus status = KelpPlatform::statusOf(file);
    if (status.regular && status.size > 0) fileSize_ = static_cast<std::uint64_t>(status.size);
}

void PointSizing::plan(std::uint64_t offset, KelpCore::KelpPointSet& cloud) const {
    if (fileSize_ <= offset || offset <= start_) return;
    const std::uint64_t rest = fileSize_ - offset;
    // The rest at the points' length so far, plus a quarter; never more points
    // than the rest holds at eight bytes a point (an ASC "0 0 0 \n" and a
    // little, or a DXF "POINT\n0\n"), so that short first points cannot reserve
    // out of proportion to the file. Beyond the reserve the arrays grow as
    // usual.
    double more = static_cast<double>(rest) * static_cast<double>(kSample) / static_cast<double>(offset - start_) * 1.25;
    if (more > static_cast<double>(rest / 8)) more = static_cast<double>(rest / 8);
    const std::uint64_t target = cloud.vertices.size() + static_cast<std::uint64_t>(more);
    if (target <= cloud.vertices.capacity() + cloud.vertices.capacity() / 2 || target > UINT32_MAX) return;
    cloud.vertices.reserve(static_cast<std::size_t>(target));
    cloud.vertexFlags.reserve(static_cast<std::size_t>(target));
}

}  // namespace KelpPointCloud
