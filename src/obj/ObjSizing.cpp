#include "obj/ObjSizing.h"

#include "platform/FileOffset.h"
#include "platform/SystemMemory.h"

namespace KelpObj {

namespace {
// Faces seen before the density is trusted; until then the arrays grow as usual.
constexpr std::size_t kSample = 4096;

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
    if (!started_) {
        started_ = true;
        firstOffset_ = offset;
        firstCount_ = count;
        return;
    }
    if (count + adding <= mesh.faces.capacity()) return;
    const std::size_t seen = count - firstCount_;
    if (seen < kSample || offset <= firstOffset_ || offset >= fileSize_) return;
    // Faces per byte so far, carried over the rest of the file, plus a quarter.
    const double perByte = static_cast<double>(seen) / static_cast<double>(offset - firstOffset_);
    double expected = static_cast<double>(count) + static_cast<double>(fileSize_ - offset) * perByte * 1.25;
    // Never more faces than the file has bytes for at twelve bytes a face: a
    // dense first stretch cannot reserve out of proportion to the file.
    const double ceiling = static_cast<double>(count) + static_cast<double>(fileSize_ - offset) / 12.0;
    if (expected > ceiling) expected = ceiling;
    const std::size_t target = static_cast<std::size_t>(expected) + adding;
    // Not worth it where the usual growth by half reaches as far.
    if (target <= mesh.faces.capacity() + mesh.faces.capacity() / 2) return;
    reserveFor(mesh.faces, target);
    reserveFor(mesh.faceFlags, target);
    if (!faceTexCoords.empty()) reserveFor(faceTexCoords, target);
}

}  // namespace KelpObj
