#include "obj/ObjSizing.h"

#include "platform/FileOffset.h"
#include "platform/SystemMemory.h"
#include "scan/ScanSizing.h"

namespace KelpObj {

namespace {

template <typename Vector>
void reserveFor(Vector& v, std::size_t count) {
    if (v.capacity() < count) v.reserve(count);
}
}  // namespace

ObjFaceSizing::ObjFaceSizing(std::FILE* file) {
    if (!file) return;
    const KelpPlatform::FileStatus status = KelpPlatform::statusOf(file);
    if (status.regular && status.size > 0) fileSize_ = static_cast<std::uint64_t>(status.size);
}

void ObjFaceSizing::afterVertexGrowth(std::size_t listBytes) {
    // The blocks that the vertex lists grew out of were freed, but the
    // allocator may keep them resident in its heap; the face arrays would
    // pile up on top of them. Give their pages back once per doubling of the
    // lists, so that this runs a logarithmic number of times.
    constexpr std::size_t kWorthTrimming = std::size_t(16) << 20;
    if (listBytes < kWorthTrimming || listBytes < 2 * trimmedAt_) return;
    trimmedAt_ = listBytes;
    KelpPlatform::releaseFreeHeapPages();
}

void ObjFaceSizing::plan(std::size_t adding, std::uint64_t offset, KelpCore::KelpTriMesh& mesh,
                         std::vector<KelpCore::Vec3u>& faceTexCoords) {
    if (fileSize_ == 0 || adding == 0) return;
    const std::size_t count = mesh.faces.size();
    if (!faces_.started) {
        faces_ = {true, offset, count};
        return;
    }
    if (count + adding <= mesh.faces.capacity()) return;
    const std::size_t seen = count - faces_.count;
    if (seen < KelpScan::kSizingSample || offset <= faces_.offset || offset >= fileSize_) return;
    // At twelve bytes a face for the ceiling.
    const std::size_t target = KelpScan::expectedCount(count, seen, offset - faces_.offset, fileSize_ - offset, 12.0) + adding;
    // Not worth it where the usual growth by half reaches as far.
    if (target <= mesh.faces.capacity() + mesh.faces.capacity() / 2) return;
    reserveFor(mesh.faces, target);
    reserveFor(mesh.faceFlags, target);
    if (!faceTexCoords.empty()) reserveFor(faceTexCoords, target);
}

std::size_t ObjFaceSizing::listCapacity(List list, std::size_t count, std::uint64_t offset) {
    if (fileSize_ == 0) return 0;
    ListStart& start = lists_[static_cast<int>(list)];
    if (!start.started) {
        start = {true, offset, count};
        return 0;
    }
    const std::size_t seen = count - start.count;
    if (seen < KelpScan::kSizingSample || offset <= start.offset || offset >= fileSize_) return 0;
    // At eight bytes a statement for the ceiling ("v 0 0 0" and its line feed).
    const std::size_t target = KelpScan::expectedCount(count, seen, offset - start.offset, fileSize_ - offset, 8.0) + 1;
    if (target <= count + count / 2) return 0;
    return target;
}

}  // namespace KelpObj
