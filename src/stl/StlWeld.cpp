// Welding of the STL soup. Duplicates are found by the exact 12-byte position
// bits in an open-addressing hash table rather than by walking a spatial grid:
// every duplicate still goes to the lowest-indexed vertex with the same bits
// and the survivors keep their first-appearance order, while the cost no
// longer depends on how the positions spread over the bounding box (clustered
// scans, far outliers, flat or not-a-number coordinates).
#include "stl/StlReaders.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

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

// Maps position bits to survivor numbers. A slot keeps the key beside the
// number so that a probe touches one cache line.
class PositionTable {
public:
    explicit PositionTable(std::size_t expected) {
        std::size_t capacity = 64;
        while (capacity < expected) capacity *= 2;
        slots_.assign(capacity, Slot{0, 0, kEmpty});
        mask_ = capacity - 1;
    }

    const void* slotAddress(const PositionBits& bits) const { return &slots_[hashOf(bits) & mask_]; }

    // The survivor number of `bits`, inserting `candidate` when the bits are new.
    std::uint32_t findOrInsert(const PositionBits& bits, std::uint32_t candidate, bool& inserted) {
        std::size_t i = hashOf(bits) & mask_;
        for (;;) {
            Slot& slot = slots_[i];
            if (slot.index == kEmpty) break;
            if (slot.xy == bits.xy && slot.z == bits.z) {
                inserted = false;
                return slot.index;
            }
            i = (i + 1) & mask_;
        }
        inserted = true;
        slots_[i] = Slot{bits.xy, bits.z, candidate};
        if (++size_ * 8 > slots_.size() * 5) grow();
        return candidate;
    }

private:
    // Survivor numbers stay below the vertex count, which is at most 2^32 - 1.
    static constexpr std::uint32_t kEmpty = 0xFFFFFFFFu;
    struct Slot {
        std::uint64_t xy;
        std::uint32_t z;
        std::uint32_t index;
    };

    void grow() {
        std::vector<Slot> old(slots_.size() * 2, Slot{0, 0, kEmpty});
        old.swap(slots_);
        mask_ = slots_.size() - 1;
        for (const Slot& slot : old) {
            if (slot.index == kEmpty) continue;
            std::size_t i = hashOf(PositionBits{slot.xy, slot.z}) & mask_;
            while (slots_[i].index != kEmpty) i = (i + 1) & mask_;
            slots_[i] = slot;
        }
    }

    std::vector<Slot> slots_;
    std::size_t mask_ = 0;
    std::size_t size_ = 0;
};

// How far ahead the next table slots are prefetched; lookups are independent,
// so their cache misses overlap.
constexpr std::size_t kPrefetchAhead = 16;

}  // namespace

void weldSoup(KelpCore::KelpTriMesh* mesh) {
    const std::size_t vertexTotal = std::min<std::size_t>(mesh->vertexCount, mesh->vertices.size());
    const std::uint32_t faceTotal = mesh->faceCount;
    const KelpCore::Vec3f* const soup = mesh->vertices.data();

    // Face k is rebuilt from soup vertices 3k, 3k+1, 3k+2 in the same pass
    // that numbers the survivors, so no per-vertex index array is needed.
    std::vector<KelpCore::Vec3u> faces(faceTotal);
    std::vector<KelpCore::Vec3f> survivors;
    survivors.reserve(vertexTotal / 4 + 1);
    PositionTable table(vertexTotal / 4);

    const std::size_t cornerTotal = 3 * static_cast<std::size_t>(faceTotal);
    for (std::size_t v = 0; v < vertexTotal; ++v) {
        if (v + kPrefetchAhead < vertexTotal) __builtin_prefetch(table.slotAddress(bitsOf(soup[v + kPrefetchAhead])));
        bool inserted;
        const std::uint32_t index = table.findOrInsert(bitsOf(soup[v]), static_cast<std::uint32_t>(survivors.size()), inserted);
        if (inserted) survivors.push_back(soup[v]);
        if (v < cornerTotal) faces[v / 3][v % 3] = index;
    }
    // Corners past the vertex array (3 n wrapped in 32 bits) name no vertex.
    for (std::size_t corner = vertexTotal; corner < cornerTotal; ++corner) faces[corner / 3][corner % 3] = kNoVertex;

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
