// Whole-instance decoding of the common ASCII layouts, as PlyInstanceDecoder
// does for the binary ones: a vertex element of scalars whose stored values
// are the float positions, and a face element of unstored scalars around one
// int corner list kept in place. One forward pass of the scanning core takes
// an instance's numbers where they lie; an instance with anything unusual in
// it (see ScanPlainPass), or a layout not planned here, is left to the
// per-property routines, which then read it from its start.
#pragma once

#include "ply/PlyFile.h"
#include "ply/PlyImport.h"
#include "ply/PlyInstanceDecoder.h"
#include "scan/ScanPlainPass.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace KelpPly {

// What each property of an instance is read as: a position axis ("%f" into
// x, y or z), or a value read and dropped as "%d" or "%f".
enum class AsciiStep : unsigned char { X, Y, Z, SkipInt, SkipFloat };

struct AsciiVertexPlan {
    bool usable = false;
    std::vector<AsciiStep> steps;
    std::size_t bytes = 0;  // the window asked for per instance
};

struct AsciiFacePlan {
    bool usable = false;
    std::vector<AsciiStep> before;  // scalars before the list
    std::vector<AsciiStep> after;   // and after it
    int capacity = 0;               // corners the pass takes (more go to the routines)
    std::size_t bytes = 0;
};

AsciiVertexPlan planAsciiVertices(const PlyElement& element, PlyFormat format);
AsciiFacePlan planAsciiFaces(const PlyElement& element, PlyFormat format);

inline bool skipAscii(KelpScan::ScanPlainPass& pass, AsciiStep step) {
    if (step == AsciiStep::SkipInt) {
        std::int32_t ignored;
        return pass.readInt(ignored);
    }
    float ignored;
    return pass.readFloat(ignored);
}

inline Decoded decodeAsciiVertex(PlyInput& input, const AsciiVertexPlan& plan, PlyVertexRecord& vertex) {
    KelpScan::ScanPlainPass pass(input.cursor(), plan.bytes);
    float xyz[3];
    for (const AsciiStep step : plan.steps) {
        const bool read = step <= AsciiStep::Z ? pass.readFloat(xyz[static_cast<int>(step)]) : skipAscii(pass, step);
        if (!read) return Decoded::NotHere;
    }
    pass.commit();
    vertex.x = xyz[0];
    vertex.y = xyz[1];
    vertex.z = xyz[2];
    return Decoded::Ok;
}

inline Decoded decodeAsciiFace(PlyInput& input, const AsciiFacePlan& plan, PlyFaceRecord& face) {
    KelpScan::ScanPlainPass pass(input.cursor(), plan.bytes);
    for (const AsciiStep step : plan.before)
        if (!skipAscii(pass, step)) return Decoded::NotHere;
    std::int32_t count;
    if (!pass.readInt(count) || count < 0 || count > plan.capacity) return Decoded::NotHere;
    std::int32_t corners[8];
    for (std::int32_t i = 0; i < count; ++i)
        if (!pass.readInt(corners[i])) return Decoded::NotHere;
    for (const AsciiStep step : plan.after)
        if (!skipAscii(pass, step)) return Decoded::NotHere;
    pass.commit();
    face.size = static_cast<unsigned char>(count);
    std::memcpy(face.indices, corners, sizeof(std::int32_t) * static_cast<std::size_t>(count));
    return Decoded::Ok;
}

}  // namespace KelpPly
