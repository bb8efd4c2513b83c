// Binary STL into a triangle soup. The arrays are sized once from the header
// count; the records are read in large blocks and scattered into them, with
// the results of the classic one-triangle-at-a-time loop of unchecked reads:
// once the file runs out, every remaining triangle repeats the corners of the
// last triangle whose corners were read in full.
#include "frame/ReaderLocale.h"
#include "io/FileHandle.h"
#include "stl/StlReaders.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

namespace KelpStl {

namespace {

constexpr std::size_t kBlockRecords = 8192;
// A record's corners are complete once its normal and three corners arrived.
constexpr std::size_t kCornersEnd = 12 + 36;

// Stores triangle i of the soup. Its corners go to vertices 3i..3i+2 when the
// vertex array reaches that far: it always does, except when 3 n wrapped in
// 32 bits and the array is shorter than the count says.
class SoupStore {
public:
    explicit SoupStore(KelpCore::KelpTriMesh& mesh)
        : vertices_(mesh.vertices.data()),
          vertexTotal_(mesh.vertices.size()),
          faces_(mesh.faces.data()),
          faceTotal_(mesh.faces.size()) {}

    void triangle(std::uint32_t i, const unsigned char* cornerBytes) {
        const std::uint64_t first = 3ull * i;
        if (first + 3 <= vertexTotal_) {
            loadCorners(vertices_ + first, cornerBytes);
        } else if (first < vertexTotal_) {
            KelpCore::Vec3f corners[3];
            loadCorners(corners, cornerBytes);
            std::copy(corners, corners + (vertexTotal_ - first), vertices_ + first);
        }
        if (i < faceTotal_) {
            const std::uint32_t base = 3u * i;  // 32-bit, as the face numbers are
            faces_[i] = {base, base + 1, base + 2};
        }
    }

private:
    KelpCore::Vec3f* vertices_;
    std::size_t vertexTotal_;
    KelpCore::Vec3u* faces_;
    std::size_t faceTotal_;
};

}  // namespace

bool readBinaryStl(const char* path, KelpCore::KelpTriMesh* mesh, bool weld) {
    KelpFrame::switchToReaderLocale();
    KelpIo::FileHandle file = KelpIo::openFile(path, "rb");
    if (!file) return false;  // the locale stays switched on this path

    unsigned char countBytes[4] = {};
    std::fseek(file.get(), kHeaderBytes, SEEK_SET);
    std::fread(countBytes, 1, sizeof countBytes, file.get());
    const std::uint32_t count = loadU32(countBytes);
    std::printf("OpenBinary::fn=%d\n", static_cast<int>(count));

    // Sized from the header alone, 3 n in 32-bit arithmetic; a count larger
    // than the file can hold costs its full memory.
    mesh->setVertexCount(3u * count);
    mesh->setFaceCount(count);

    SoupStore soup(*mesh);
    const std::uint32_t visited = visitedTriangles(count);

    // Welding follows the soup as it is stored, block by block.
    const std::size_t vertexTotal = mesh->vertices.size();
    std::unique_ptr<SoupWelder> welder;
    if (weld) welder = std::make_unique<SoupWelder>(vertexTotal, count);
    std::size_t welded = 0;
    const auto weldUpTo = [&](std::uint64_t end) {
        const std::size_t stop = static_cast<std::size_t>(std::min<std::uint64_t>(end, vertexTotal));
        if (welder && stop > welded) welder->addRun(mesh->vertices.data() + welded, stop - welded);
        welded = std::max(welded, stop);
    };

    // Corners of the last triangle read in full; zero before the first one.
    unsigned char lastCorners[36] = {};
    std::vector<unsigned char> block;
    std::uint32_t next = 0;
    while (next < visited) {
        const std::size_t want = std::min<std::size_t>(visited - next, kBlockRecords);
        if (block.empty()) block.resize(std::min<std::size_t>(visited, kBlockRecords) * kRecordBytes);
        const std::size_t got = std::fread(block.data(), 1, want * kRecordBytes, file.get());
        const std::size_t whole = got / kRecordBytes;
        for (std::size_t r = 0; r < whole; ++r) soup.triangle(next + static_cast<std::uint32_t>(r), block.data() + r * kRecordBytes + 12);
        if (whole > 0) std::memcpy(lastCorners, block.data() + (whole - 1) * kRecordBytes + 12, 36);
        next += static_cast<std::uint32_t>(whole);
        weldUpTo(3ull * next);
        if (whole == want) continue;
        // The file ended inside this block. A record cut after its corners
        // still delivered them; one cut earlier leaves the previous corners.
        if (got % kRecordBytes >= kCornersEnd) {
            std::memcpy(lastCorners, block.data() + whole * kRecordBytes + 12, 36);
        }
        break;
    }
    for (; next < visited; ++next) soup.triangle(next, lastCorners);
    weldUpTo(vertexTotal);

    file.reset();
    KelpFrame::switchToCLocale();
    std::printf("OpenBinary::read end\n");
    if (welder) welder->finish(mesh);
    return true;
}

}  // namespace KelpStl
