#include "ply/PlyAsciiDecoder.h"

#include "ply/PlyValues.h"

#include <cstddef>

namespace KelpPly {

namespace {
// Window asked for per planned value; a longer instance still decodes when
// the window happens to hold it, and falls to the routines otherwise.
constexpr std::size_t kBytesPerValue = 48;
constexpr std::size_t kMaxPlannedValues = 64;
// Corners a face may have for the pass (faces with more take the routines).
constexpr int kPassCorners = 8;

// An unstored scalar is dropped as "%d" for the integer types, "%f" otherwise.
AsciiStep skipStep(const PlyProperty& property) {
    return isIntegerType(property.type) ? AsciiStep::SkipInt : AsciiStep::SkipFloat;
}
}  // namespace

AsciiVertexPlan planAsciiVertices(const PlyElement& element, PlyFormat format) {
    AsciiVertexPlan plan;
    if (format != PlyFormat::Ascii || element.properties.size() > kMaxPlannedValues) return plan;
    const std::size_t targets[3] = {offsetof(PlyVertexRecord, x), offsetof(PlyVertexRecord, y),
                                    offsetof(PlyVertexRecord, z)};
    bool found[3] = {false, false, false};
    for (const PlyProperty& property : element.properties) {
        if (property.isList || !property.routine) return plan;
        if (!property.stored) {
            plan.steps.push_back(skipStep(property));
            continue;
        }
        const PlyPropertyRequest& r = property.request;
        if (r.storedType != PlyScalarType::Float || r.memoryType != PlyScalarType::Float) return plan;
        int axis = 0;
        while (axis < 3 && r.valueOffset != targets[axis]) ++axis;
        if (axis == 3 || found[axis]) return plan;
        found[axis] = true;
        plan.steps.push_back(static_cast<AsciiStep>(axis));
    }
    plan.bytes = (plan.steps.size() + 1) * kBytesPerValue;
    plan.usable = found[0] && found[1] && found[2];
    return plan;
}

AsciiFacePlan planAsciiFaces(const PlyElement& element, PlyFormat format) {
    AsciiFacePlan plan;
    if (format != PlyFormat::Ascii || element.properties.size() > kMaxPlannedValues) return plan;
    bool listSeen = false;
    for (const PlyProperty& property : element.properties) {
        if (!property.routine) return plan;
        if (property.isList) {
            if (listSeen || !isPlannedCornerList(property)) return plan;
            listSeen = true;
            const int capacity = property.request.listCapacity;
            plan.capacity = capacity < kPassCorners ? capacity : kPassCorners;
            continue;
        }
        if (property.stored) return plan;
        (listSeen ? plan.after : plan.before).push_back(skipStep(property));
    }
    plan.bytes = (plan.before.size() + plan.after.size() + 1 + kPassCorners) * kBytesPerValue;
    plan.usable = listSeen;
    return plan;
}

}  // namespace KelpPly
