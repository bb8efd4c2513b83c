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
#include <memory>
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

// One full 64 x 64 -> 128-bit product of the two words, folded: every input
// bit reaches the low bits (the table index) and the high bits (the cache
// index and the tag).
inline std::uint64_t hashOf(const PositionBits& bits) {
    const unsigned __int128 product =
        static_cast<unsigned __int128>(bits.xy ^ 0x9E3779B97F4A7C15ull) * ((bits.z | std::uint64_t{bits.z} << 32) ^ 0xC2B2AE3D27D4EB4Full);
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
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
        slots_.assign(capacity, Entry{0, kEmpty});
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
        std::vector<Entry> old(slots_.size() * 2, Entry{0, kEmpty});
        old.swap(slots_);
        mask_ = slots_.size() - 1;
        for (const Entry& entry : old) {
            if (entry.index == kEmpty) continue;
            // The table hash is not stored whole; the survivor's bits give it again.
            std::size_t i = hashOf(bitsOf(survivors_[entry.index])) & mask_;
            while (slots_[i].index != kEmpty) i = (i + 1) & mask_;
            slots_[i] = entry;
        }
    }

    std::vector<KelpCore::Vec3f>& survivors_;
    std::vector<Entry> slots_;
    std::size_t mask_ = 0;
    std::size_t size_ = 0;
};

// A small direct-mapped cache of recent positions in front of the table. A
// soup repeats each corner within a few rings of triangles, so most lookups end
// here, in cache, and only first appearances and far repeats reach the table.
constexpr unsigned kRecentBits = 12;
// How far ahead table slots are prefetched: the table lookups are independent,
// so their memory accesses overlap. Every position is prefetched, also those the
// cache will settle; testing the cache first costs more than the spare prefetches.
constexpr std::size_t kAhead = 32;
}  // namespace

struct SoupWelder::State {
    State(std::size_t vertexTotal, std::uint32_t faceTotal, std::size_t expectedPositions)
        : vertexTotal(std::min<std::size_t>(vertexTotal, 3ull * faceTotal)),
          faces(faceTotal, KelpCore::Vec3u{kNoVertex, kNoVertex, kNoVertex}),
          table(expectedPositions / 4, survivors),
          recent(std::size_t{1} << kRecentBits, Slot{0, 0, kEmpty}) {
        survivors.reserve(expectedPositions / 4 + 1);
    }

    Slot& recentOf(std::uint64_t hash) { return recent[hash >> (64 - kRecentBits)]; }

    std::uint32_t numberOf(const KelpCore::Vec3f& position, std::uint64_t hash) {
        const PositionBits bits = bitsOf(position);
        Slot& cached = recentOf(hash);
        std::uint32_t index;
        if (cached.index != kEmpty && cached.holds(bits)) {
            index = cached.index;
        } else {
            index = table.findOrAdd(position, bits, hash);
            cached = Slot{bits.xy, bits.z, index};
        }
        return index;
    }

    // Face k holds the numbers of soup positions 3k, 3k+1, 3k+2.
    void storeNumbers(const std::uint32_t* numbers, std::size_t count) {
        if (count == 0) return;  // faces.data() may be null then
        std::memcpy(reinterpret_cast<unsigned char*>(faces.data()) + sizeof(std::uint32_t) * fed, numbers,
                    sizeof(std::uint32_t) * count);
        fed += count;
    }

    // Never more than the faces hold: 3 n, or its 32-bit wrap when shorter.
    std::size_t vertexTotal;
    std::size_t fed = 0;  // positions taken so far
    // Sized up front; corners that are never fed name no vertex.
    std::vector<KelpCore::Vec3u> faces;
    std::vector<KelpCore::Vec3f> survivors;
    PositionTable table;
    std::vector<Slot> recent;
};

static_assert(sizeof(KelpCore::Vec3u) == 3 * sizeof(std::uint32_t), "faces are three packed numbers");

SoupWelder::SoupWelder(std::size_t vertexTotal, std::uint32_t faceTotal, std::size_t expectedPositions)
    : state_(std::make_unique<State>(vertexTotal, faceTotal, expectedPositions)) {}

SoupWelder::~SoupWelder() = default;

void SoupWelder::addRun(const KelpCore::Vec3f* positions, std::size_t count) {
    State& s = *state_;
    count = std::min(count, s.vertexTotal - s.fed);
    // Numbers gather here and go to the faces a batch at a time.
    constexpr std::size_t kBatch = 256;
    std::uint32_t numbers[kBatch];
    std::uint64_t hashes[kAhead];
    for (std::size_t v = 0; v < std::min(count, kAhead); ++v) hashes[v] = hashOf(bitsOf(positions[v]));
    for (std::size_t v = 0; v < count; ++v) {
        const std::uint64_t hash = hashes[v % kAhead];
        if (v + kAhead < count) {
            const PositionBits ahead = bitsOf(positions[v + kAhead]);
            const std::uint64_t aheadHash = hashOf(ahead);
            hashes[v % kAhead] = aheadHash;
            __builtin_prefetch(s.table.slotAddress(aheadHash));
        }
        numbers[v % kBatch] = s.numberOf(positions[v], hash);
        if (v % kBatch == kBatch - 1) s.storeNumbers(numbers, kBatch);
    }
    s.storeNumbers(numbers, count % kBatch);
}

void SoupWelder::addRepeated(const KelpCore::Vec3f* corners, std::uint32_t times) {
    State& s = *state_;
    if (times == 0) return;
    // The first copy is looked up; the same positions give the same face, so
    // the copies that fit under vertexTotal repeat it, and the last one may be
    // cut short there.
    const bool whole = s.vertexTotal - s.fed >= 3;
    addRun(corners, 3);
    if (!whole) return;
    const std::size_t first = s.fed / 3;
    const std::size_t copies = std::min<std::size_t>(times - 1u, (s.vertexTotal - s.fed) / 3);
    std::fill_n(s.faces.begin() + static_cast<std::ptrdiff_t>(first), copies, s.faces[first - 1]);
    s.fed += 3 * copies;
    if (copies < times - 1u) addRun(corners, 3);
}

void SoupWelder::finish(KelpCore::KelpTriMesh* mesh) {
    State& s = *state_;
    mesh->reset();

    // The steps of setting the vertex count, with the survivors as the new
    // positions (handed over rather than zero-filled and then copied).
    mesh->vertexCount = static_cast<std::uint32_t>(s.survivors.size());
    mesh->vertices = std::move(s.survivors);
    mesh->vertexFlags.resize(mesh->vertexCount, 0u);
    mesh->updateVertexAttributes();

    mesh->faceCount = static_cast<std::uint32_t>(s.faces.size());
    mesh->faces = std::move(s.faces);
    mesh->faceFlags.resize(mesh->faceCount);
    std::fill(mesh->faceFlags.begin(), mesh->faceFlags.end(), 0u);
    mesh->updateFaceAttributes();

    state_.reset();
    KelpFrame::printProgress("RemoveRedundant::End\n");
}

void weldSoup(KelpCore::KelpTriMesh* mesh) {
    const std::size_t vertexTotal = std::min<std::size_t>(mesh->vertexCount, mesh->vertices.size());
    SoupWelder welder(vertexTotal, mesh->faceCount, vertexTotal);
    welder.addRun(mesh->vertices.data(), vertexTotal);
    welder.finish(mesh);
}

}  // namespace KelpStl
