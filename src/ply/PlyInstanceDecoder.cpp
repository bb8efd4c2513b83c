#include "ply/PlyInstanceDecoder.h"

#include "ply/PlyValues.h"

namespace KelpPly {

namespace {
// Instances larger than this go through the routines.
constexpr std::size_t kMaxPlannedInstance = 1 << 16;
}  // namespace

bool isPlannedCornerList(const PlyProperty& property) {
    const PlyPropertyRequest& r = property.request;
    return property.isList && property.stored && r.storedType == PlyScalarType::Int &&
           r.memoryType == PlyScalarType::Int && !r.allocateList && r.valueOffset == offsetof(PlyFaceRecord, indices) &&
           r.countOffset == offsetof(PlyFaceRecord, size) && plyTypeSize(r.countMemoryType) == 1 &&
           !isFloatingType(r.countMemoryType);
}

VertexPlan planVertices(const PlyElement& element, PlyFormat format) {
    VertexPlan plan;
    if (!isBinaryFormat(format)) return plan;
    const std::size_t targets[3] = {offsetof(PlyVertexRecord, x), offsetof(PlyVertexRecord, y),
                                    offsetof(PlyVertexRecord, z)};
    bool found[3] = {false, false, false};
    for (const PlyProperty& property : element.properties) {
        if (property.isList || !property.routine) return plan;
        if (property.stored) {
            if (zeroMeansFailure(property.type, format)) plan.checks.push_back(plan.size);
            for (int axis = 0; axis < 3; ++axis) {
                if (property.request.valueOffset == targets[axis]) {
                    if (property.type != PlyScalarType::Float || property.request.memoryType != PlyScalarType::Float) return plan;
                    plan.offsets[axis] = plan.size;
                    found[axis] = true;
                }
            }
        }
        plan.size += static_cast<std::size_t>(plyTypeSize(property.type));
    }
    plan.usable = found[0] && found[1] && found[2] && plan.size <= kMaxPlannedInstance;
    return plan;
}

FacePlan planFaces(const PlyElement& element, PlyFormat format) {
    FacePlan plan;
    if (!isBinaryFormat(format)) return plan;
    bool listSeen = false;
    for (const PlyProperty& property : element.properties) {
        if (!property.routine) return plan;
        if (property.isList) {
            const PlyPropertyRequest& r = property.request;
            if (listSeen || !isPlannedCornerList(property) ||
                (r.countStoredType != PlyScalarType::Uchar && r.countStoredType != PlyScalarType::Char))
                return plan;
            listSeen = true;
            plan.signedCount = r.countStoredType == PlyScalarType::Char;
            continue;
        }
        std::size_t& cursor = listSeen ? plan.after : plan.before;
        if (property.stored && zeroMeansFailure(property.type, format))
            (listSeen ? plan.checksAfter : plan.checksBefore).push_back(cursor);
        cursor += static_cast<std::size_t>(plyTypeSize(property.type));
    }
    plan.usable = listSeen && plan.before + plan.after <= kMaxPlannedInstance;
    return plan;
}

}  // namespace KelpPly
