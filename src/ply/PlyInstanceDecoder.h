// Whole-instance decoding of the common binary layouts: a vertex element of
// scalars only and a face element of scalars and one corner list are decoded
// straight from the read buffer, with the same results as the per-property
// routines. An instance near the end of the file, or a layout not planned
// here, is left to the routines.
#pragma once

#include "io/ByteOrder.h"
#include "ply/PlyFile.h"
#include "ply/PlyImport.h"
#include "ply/PlyValues.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace KelpPly {

// Offsets of the stored scalars whose four bytes must not all be zero
// (binary_big_endian int and float), relative to where they start.
using ZeroChecks = std::vector<std::size_t>;

// A binary vertex element of scalars only: fixed instance size; positions
// are float in both byte orders.
struct VertexPlan {
    bool usable = false;
    std::size_t size = 0;
    std::size_t offsets[3] = {0, 0, 0};
    ZeroChecks checks;
};

// A binary face element of scalars and one corner list of int items with a
// one-byte count, written in place.
struct FacePlan {
    bool usable = false;
    std::size_t before = 0;  // bytes of the scalars before the list
    std::size_t after = 0;   // and after it
    bool signedCount = false;
    ZeroChecks checksBefore;
    ZeroChecks checksAfter;
};

// A stored int corner list kept in place in the face record, with a one-byte
// integer count: the list both instance decoders take.
bool isPlannedCornerList(const PlyProperty& property);

VertexPlan planVertices(const PlyElement& element, PlyFormat format);
FacePlan planFaces(const PlyElement& element, PlyFormat format);

// NotHere: the instance is not wholly buffered; nothing was consumed.
enum class Decoded { Ok, Failed, NotHere };

// The decoders run once per instance and are kept inline.
inline bool passesZeroChecks(const unsigned char* bytes, const ZeroChecks& checks) {
    for (std::size_t offset : checks)
        if (allZero(bytes + offset, 4)) return false;
    return true;
}

inline Decoded decodeVertex(PlyInput& input, const VertexPlan& plan, PlyVertexRecord& vertex) {
    if (!input.ensure(plan.size)) return Decoded::NotHere;
    const unsigned char* bytes = input.data();
    if (!passesZeroChecks(bytes, plan.checks)) return Decoded::Failed;
    vertex.x = KelpIo::loadLeFloat(bytes + plan.offsets[0]);
    vertex.y = KelpIo::loadLeFloat(bytes + plan.offsets[1]);
    vertex.z = KelpIo::loadLeFloat(bytes + plan.offsets[2]);
    input.advance(plan.size);
    return Decoded::Ok;
}

inline Decoded decodeFace(PlyInput& input, const FacePlan& plan, PlyFaceRecord& face) {
    if (!input.ensure(plan.before + 1)) return Decoded::NotHere;
    const unsigned char countByte = input.data()[plan.before];
    const int count = plan.signedCount ? static_cast<signed char>(countByte) : countByte;
    const std::size_t items = count > 0 ? static_cast<std::size_t>(count) : 0;
    const std::size_t listEnd = plan.before + 1 + 4 * items;
    const std::size_t total = listEnd + plan.after;
    if (!input.ensure(total)) return Decoded::NotHere;
    const unsigned char* bytes = input.data();
    if (!passesZeroChecks(bytes, plan.checksBefore) || !passesZeroChecks(bytes + listEnd, plan.checksAfter))
        return Decoded::Failed;
    face.size = countByte;
    const unsigned char* item = bytes + plan.before + 1;
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    // Triangles, already in the machine's order, in one fixed-size copy that
    // the corners are then loaded back from without waiting on a store per item.
    if (items == 3) {
        std::memcpy(face.indices, item, 12);
        input.advance(total);
        return Decoded::Ok;
    }
#endif
    for (std::size_t i = 0; i < items; ++i, item += 4) face.indices[i] = static_cast<std::int32_t>(KelpIo::loadLe32(item));
    input.advance(total);
    return Decoded::Ok;
}

}  // namespace KelpPly
