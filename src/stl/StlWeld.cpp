// Welding of the STL soup. Duplicates are found by the exact 12-byte position
// bits in an open-addressing hash table rather than by walking a spatial grid:
// every duplicate still goes to the lowest-indexed vertex with the same bits
// and the survivors keep their first-appearance order, while the cost no
// longer depends on how the positions spread over the bounding box (clustered
// scans, far outliers, flat or not-a-number coordinates).
#include "stl/StlReaders.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include <sys/mman.h>

namespace KelpStl {

namespace {

struct PositionBits {
    std::uint64_t xy;
    std::uint32_t z;
};

inline PositionBits bitsOf(const KelpCore::Vec3f& p) {
    PositionBits bits;
    std::memcpy(&bits.xy, &p[0], 8);
    std::memcpy(&bits.z, &p[2], 4);
    return bits;
}

inline std::uint64_t hashOf(const PositionBits& bits) {
    std::uint64_t h = bits.xy * 0x9E3779B97F4A7C15ull ^ (bits.z + 0x632BE59BD9B4E019ull) * 0xC2B2AE3D27D4EB4Full;
    h ^= h >> 32;
    h *= 0xD6E8FEB86659FD93ull;
    h ^= h >> 32;
    return h;
}

// Survivor numbers stay below the vertex count, which is at most 2^32 - 1.
constexpr std::uint32_t kEmpty = 0xFFFFFFFFu;

// Position bits with the survivor number they map to: the entries of the
// recent-position cache below.
struct Slot {
    std::uint64_t xy;
    std::uint32_t z;
    std::uint32_t index;
    bool holds(const PositionBits& bits) const { return xy == bits.xy && z == bits.z; }
};

inline bool samePosition(const KelpCore::Vec3f& a, const PositionBits& bits) {
    const PositionBits other = bitsOf(a);
    return other.xy == bits.xy && other.z == bits.z;
}

// All positions seen so far, as survivor numbers in an open-addressing table
// with linear probing. A slot holds 32 more hash bits beside the number, so
// that the survivor's position is looked at only when those bits agree; eight
// bytes per slot keep the table small enough to stay in cache while the soup
// streams past. Doubled when it is five-eighths full.
class PositionTable {
public:
    PositionTable(std::size_t expected, std::vector<KelpCore::Vec3f>& survivors) : survivors_(survivors) {
        std::size_t capacity = 1024;
        while (capacity < expected) capacity *= 2;
        slots_.reset(capacity);
        mask_ = capacity - 1;
    }

    const void* slotAddress(std::uint64_t hash) const { return &slots_[hash & mask_]; }

    // The survivor number of `position` (whose bits and hash are given); a new
    // position becomes the next survivor.
    std::uint32_t findOrAdd(const KelpCore::Vec3f& position, const PositionBits& bits, std::uint64_t hash) {
        const auto tag = static_cast<std::uint32_t>(hash >> 32);
        std::size_t i = hash & mask_;
        for (;;) {
            const Entry& entry = slots_[i];
            if (entry.index == kEmpty) break;
            if (entry.tag == tag && samePosition(survivors_[entry.index], bits)) return entry.index;
            i = (i + 1) & mask_;
        }
        const auto added = static_cast<std::uint32_t>(survivors_.size());
        survivors_.push_back(position);
        slots_[i] = Entry{tag, added};
        if (++size_ * 8 > slots_.size() * 5) grow();
        return added;
    }

private:
    struct Entry {
        std::uint32_t tag;
        std::uint32_t index;
    };

    void grow() {
        EntryBlock old(std::move(slots_));
        slots_.reset(old.size() * 2);
        mask_ = slots_.size() - 1;
        for (std::size_t e = 0; e < old.size(); ++e) {
            const Entry& entry = old[e];
            if (entry.index == kEmpty) continue;
            // The table hash is not stored whole; the survivor's bits give it again.
            std::size_t i = hashOf(bitsOf(survivors_[entry.index])) & mask_;
            while (slots_[i].index != kEmpty) i = (i + 1) & mask_;
            slots_[i] = entry;
        }
    }

    // The slots live in their own block, aligned and marked for huge pages
    // where the system offers them: the probes land at random, and with 4 KiB
    // pages most of them would also miss the address translation cache.
    class EntryBlock {
    public:
        EntryBlock() = default;
        EntryBlock(EntryBlock&& other) noexcept : entries_(other.entries_), size_(other.size_) {
            other.entries_ = nullptr;
            other.size_ = 0;
        }
        EntryBlock& operator=(EntryBlock&&) = delete;
        ~EntryBlock() { std::free(entries_); }

        void reset(std::size_t size) {
            std::free(entries_);
            entries_ = nullptr;
            size_ = 0;
            constexpr std::size_t kHugePage = std::size_t{2} << 20;
            const std::size_t bytes = size * sizeof(Entry);
            void* block = bytes >= kHugePage ? std::aligned_alloc(kHugePage, (bytes + kHugePage - 1) / kHugePage * kHugePage)
                                             : std::malloc(bytes);
            if (!block) throw std::bad_alloc();
#ifdef MADV_HUGEPAGE
            if (bytes >= kHugePage) madvise(block, bytes, MADV_HUGEPAGE);
#endif
            entries_ = static_cast<Entry*>(block);
            size_ = size;
            std::fill(entries_, entries_ + size_, Entry{0, kEmpty});
        }
        std::size_t size() const { return size_; }
        Entry& operator[](std::size_t i) { return entries_[i]; }
        const Entry& operator[](std::size_t i) const { return entries_[i]; }

    private:
        Entry* entries_ = nullptr;
        std::size_t size_ = 0;
    };

    std::vector<KelpCore::Vec3f>& survivors_;
    EntryBlock slots_;
    std::size_t mask_ = 0;
    std::size_t size_ = 0;
};

// A small direct-mapped cache of recent positions in front of the table. A
// soup repeats each corner within a few rings of triangles, so most lookups end
// here, in cache, and only first appearances and far repeats reach the table.
constexpr unsigned kRecentBits = 13;
// How far ahead table slots are prefetched for positions the cache lacks;
// those lookups are independent, so their memory accesses overlap.
constexpr std::size_t kAhead = 16;
}  // namespace

void weldSoup(KelpCore::KelpTriMesh* mesh) {
    const std::size_t vertexTotal = std::min<std::size_t>(mesh->vertexCount, mesh->vertices.size());
    const std::uint32_t faceTotal = mesh->faceCount;
    const KelpCore::Vec3f* const soup = mesh->vertices.data();

    // Face k is rebuilt from soup vertices 3k, 3k+1, 3k+2 in the same pass
    // that numbers the survivors, so no per-vertex index array is needed.
    std::vector<KelpCore::Vec3u> faces;
    faces.reserve(faceTotal);
    std::vector<KelpCore::Vec3f> survivors;
    survivors.reserve(vertexTotal / 4 + 1);
    PositionTable table(vertexTotal / 4, survivors);
    std::vector<Slot> recent(std::size_t{1} << kRecentBits, Slot{0, 0, kEmpty});
    const auto recentOf = [&](std::uint64_t hash) -> Slot& { return recent[hash >> (64 - kRecentBits)]; };

    const std::size_t cornerTotal = 3 * static_cast<std::size_t>(faceTotal);
    KelpCore::Vec3u corner{};
    std::uint64_t hashes[kAhead];
    for (std::size_t v = 0; v < std::min(vertexTotal, kAhead); ++v) hashes[v] = hashOf(bitsOf(soup[v]));
    for (std::size_t v = 0; v < vertexTotal; ++v) {
        const std::uint64_t hash = hashes[v % kAhead];
        if (v + kAhead < vertexTotal) {
            const PositionBits ahead = bitsOf(soup[v + kAhead]);
            const std::uint64_t aheadHash = hashOf(ahead);
            hashes[v % kAhead] = aheadHash;
            if (!recentOf(aheadHash).holds(ahead)) __builtin_prefetch(table.slotAddress(aheadHash));
        }
        const PositionBits bits = bitsOf(soup[v]);
        Slot& cached = recentOf(hash);
        std::uint32_t index;
        if (cached.index != kEmpty && cached.holds(bits)) {
            index = cached.index;
        } else {
            index = table.findOrAdd(soup[v], bits, hash);
            cached = Slot{bits.xy, bits.z, index};
        }
        corner[v % 3] = index;
        if (v % 3 == 2 && faces.size() < faceTotal) faces.push_back(corner);
    }
    // Corners past the vertex array (3 n wrapped in 32 bits) name no vertex.
    for (std::size_t v = vertexTotal; v < cornerTotal; ++v) {
        corner[v % 3] = kNoVertex;
        if (v % 3 == 2) faces.push_back(corner);
    }

    mesh->reset();

    const auto survivorCount = static_cast<std::uint32_t>(survivors.size());
    mesh->setVertexCount(survivorCount);
    std::copy(survivors.begin(), survivors.end(), mesh->vertices.begin());

    mesh->faceCount = faceTotal;
    mesh->faces = std::move(faces);
    mesh->faceFlags.resize(faceTotal);
    std::fill(mesh->faceFlags.begin(), mesh->faceFlags.end(), 0u);
    mesh->updateFaceAttributes();

    std::printf("RemoveRedundant::End\n");
}

}  // namespace KelpStl
