// Binary STL, welded as it is read. The records are read in large blocks with
// the results of the classic one-triangle-at-a-time loop of unchecked reads
// into buffers reused from one triangle to the next: once the file runs out,
// every remaining triangle repeats the corner buffer as the last read left it.
#include "platform/FileOffset.h"
#include "stl/StlReaders.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

namespace KelpStl {

namespace {

constexpr std::size_t kBlockRecords = 8192;
// Where a record's corners start; they are 36 bytes long.
constexpr std::size_t kCornersAt = 12;
constexpr std::size_t kCornerBytes = 36;

// The corners go from the read block straight into the welder. The soup
// arrays (three vertices and one face per triangle) are never built, since
// welding replaces them before anybody could look at them; that saves 48 of
// their 64 bytes per triangle and the time to fill them. Only the welded
// faces are sized from the header count.
class WeldSink {
public:
    WeldSink(std::uint32_t count, std::uint64_t positionsInFile)
        : vertexTotal_(std::uint32_t{3u * count}),
          welder_(std::make_unique<SoupWelder>(
              vertexTotal_, count, static_cast<std::size_t>(std::min<std::uint64_t>(vertexTotal_, positionsInFile)))) {}

    void records(const unsigned char* bytes, std::size_t count) {
        corners_.resize(std::max(corners_.size(), 3 * count));
        for (std::size_t r = 0; r < count; ++r) loadCorners(&corners_[3 * r], bytes + r * kRecordBytes + kCornersAt);
        welder_->addRun(corners_.data(), 3 * count);
    }

    void repeat(const unsigned char* cornerBytes, std::uint32_t times) {
        KelpCore::Vec3f corners[3];
        loadCorners(corners, cornerBytes);
        welder_->addRepeated(corners, times);
    }

    std::unique_ptr<SoupWelder> release() { return std::move(welder_); }

private:
    std::size_t vertexTotal_;
    std::unique_ptr<SoupWelder> welder_;
    std::vector<KelpCore::Vec3f> corners_;
};

// Bytes from the current position to the end of the file.
std::uint64_t bytesLeft(std::FILE* file) {
    const std::int64_t here = KelpPlatform::tell(file);
    if (here < 0 || !KelpPlatform::seek(file, 0, SEEK_END)) return 0;
    const std::int64_t end = KelpPlatform::tell(file);
    KelpPlatform::seek(file, here, SEEK_SET);
    return end > here ? static_cast<std::uint64_t>(end - here) : 0;
}

// The read loop: whole records in blocks, then the repeats of a short file.
void readRecords(std::FILE* file, std::uint32_t visited, WeldSink& sink) {
    // The corner buffer of the one-triangle loop; zero before the first read.
    unsigned char lastCorners[kCornerBytes] = {};
    std::vector<unsigned char> block;
    std::uint32_t next = 0;
    while (next < visited) {
        const std::size_t want = std::min<std::size_t>(visited - next, kBlockRecords);
        if (block.empty()) block.resize(std::min<std::size_t>(visited, kBlockRecords) * kRecordBytes);
        const std::size_t got = std::fread(block.data(), 1, want * kRecordBytes, file);
        const std::size_t whole = got / kRecordBytes;
        sink.records(block.data(), whole);
        if (whole > 0) std::memcpy(lastCorners, block.data() + (whole - 1) * kRecordBytes + kCornersAt, kCornerBytes);
        next += static_cast<std::uint32_t>(whole);
        if (whole == want) continue;
        // The file ended inside this block. The corners are one fread of
        // three 12-byte items: a record cut inside them delivers the bytes
        // that came over the start of the buffer (a partial item's bytes
        // too, as glibc stores them; C leaves them unspecified), and the
        // rest keeps the previous triangle's bytes. A cut inside the normal
        // reads no corner at all.
        const std::size_t cut = got % kRecordBytes;
        if (cut > kCornersAt)
            std::memcpy(lastCorners, block.data() + whole * kRecordBytes + kCornersAt,
                        std::min(cut - kCornersAt, kCornerBytes));
        noteShortFile(visited, next, cut);
        break;
    }
    sink.repeat(lastCorners, visited - next);
}

}  // namespace

std::unique_ptr<SoupWelder> readBinaryStl(std::FILE* file) {
    unsigned char countBytes[4] = {};
    std::fseek(file, kHeaderBytes, SEEK_SET);
    std::fread(countBytes, 1, sizeof countBytes, file);
    const std::uint32_t count = KelpIo::loadLe32(countBytes);
    KelpFrame::printProgress("OpenBinary::fn=%d\n", static_cast<int>(count));
    const std::uint32_t visited = visitedTriangles(count);
    noteHeaderCount(count);

    // Distinct positions cannot outnumber the corners the file holds, plus
    // the three a short file repeats; a count the file cannot back does not
    // size the welder's table.
    const std::uint64_t positions = 3 * (std::min<std::uint64_t>(bytesLeft(file) / kRecordBytes, visited) + 1);
    WeldSink sink(count, positions);
    readRecords(file, visited, sink);
    // Counts of 2^31 and more read nothing, but the soup they size holds
    // zero corners all the same, and those are welded too.
    const unsigned char zeroCorners[36] = {};
    sink.repeat(zeroCorners, count - visited);
    KelpFrame::printProgress("OpenBinary::read end\n");
    return sink.release();
}

}  // namespace KelpStl
