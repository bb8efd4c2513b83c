// The point cloud container. Counts live beside separate arrays (structure of
// arrays) so that positions can be copied or written in one block.
#pragma once

#include <KelpExport.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace KelpCore {

using Vec2f = std::array<float, 2>;
using Vec3f = std::array<float, 3>;
using Vec3u = std::array<std::uint32_t, 3>;

// Bits of `vertexAttributes` and `faceAttributes`: which optional arrays exist.
enum KelpAttributeBit : std::uint32_t {
    KelpAttributeNormals = 1u,
    KelpAttributeAuxVectors = 2u,
    KelpAttributeAuxValues = 4u,
};

namespace detail {
// Grows capacity by half (or to what is needed) before an append, so that
// one-at-a-time appends stay amortised O(1) with a predictable footprint.
template <typename Vector>
inline void reserveForAppend(Vector& v) {
    if (v.size() == v.capacity()) {
        const auto grown = v.capacity() + v.capacity() / 2;
        v.reserve(std::max<decltype(grown)>(grown, v.size() + 1));
    }
}

template <typename Vector, typename Value>
inline void append(Vector& v, const Value& value) {
    reserveForAppend(v);
    v.push_back(value);
}

// Empties a vector and gives its storage back.
template <typename Vector>
inline void release(Vector& v) {
    Vector().swap(v);
}

// An optional array follows its attribute bit: sized to `count` when the bit
// is set (new elements value-initialised, so aux entries are zero), released
// when it is clear.
template <typename Vector>
inline void followAttributeBit(Vector& array, bool enabled, std::uint32_t count) {
    if (enabled)
        array.resize(count);
    else
        release(array);
}
}  // namespace detail

class KELP_CORE_API KelpPointSet {
public:
    KelpPointSet() = default;
    KelpPointSet(const KelpPointSet&) = default;
    KelpPointSet(KelpPointSet&&) noexcept = default;
    KelpPointSet& operator=(const KelpPointSet&) = default;
    KelpPointSet& operator=(KelpPointSet&&) noexcept = default;
    virtual ~KelpPointSet();

    // Empties every array and count; the attribute bits stay as they are, so
    // the optional arrays come back when a count is set again.
    virtual void reset();

    // Sizes each optional per-vertex array to vertexCount when its bit is set
    // and releases it when the bit is clear.
    void updateVertexAttributes();

    // Replaces the vertex count: sizes `vertices` and `vertexFlags` (new flags
    // 0) and then the optional arrays. Allocates at most once per array.
    void setVertexCount(std::uint32_t count);

    // Appends one point with default attributes: normal (0, 0, 1), zero aux
    // vector and value, flag 0.
    void addVertex(const Vec3f& position) {
        detail::append(vertices, position);
        detail::append(vertexFlags, 0u);
        if (vertexAttributes & KelpAttributeNormals) detail::append(vertexNormals, Vec3f{0.0f, 0.0f, 1.0f});
        if (vertexAttributes & KelpAttributeAuxVectors) detail::append(vertexAuxVectors, Vec3f{0.0f, 0.0f, 0.0f});
        if (vertexAttributes & KelpAttributeAuxValues) detail::append(vertexAuxValues, 0.0f);
        ++vertexCount;
    }

    std::uint32_t vertexCount = 0;
    std::uint32_t vertexAttributes = 0;
    std::vector<Vec3f> vertices;
    std::vector<std::uint32_t> vertexFlags;
    std::vector<Vec3f> vertexNormals;
    std::vector<Vec3f> vertexAuxVectors;
    std::vector<float> vertexAuxValues;
};

}  // namespace KelpCore
