// KelpReadPly: asks the PLY reader for positions, face corners (or strips)
// and the optional properties it knows, then walks the elements in header
// order and appends vertices and triangles to the mesh.
//
// The common binary layouts (a vertex element of scalars only, a face element
// of scalars and one corner list) are decoded a whole instance at a time
// straight from the read buffer, with the same results as the per-property
// routines; anything else, and any instance near the end of the file, goes
// through the routines.
#include "ply/PlyImport.h"

#include <KelpFileIO.h>

#include "report/Recorder.h"

#include "ply/PlyFile.h"
#include "ply/PlyReport.h"
#include "ply/PlyValues.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <vector>

namespace KelpPly {

namespace {

using KelpCore::KelpTriMesh;

PlyPropertyRequest scalarRequest(const char* element, const char* name, int type, std::size_t offset) {
    PlyPropertyRequest r;
    r.elementName = element;
    r.propertyName = name;
    r.storedType = type;
    r.memoryType = type;
    r.valueOffset = offset;
    return r;
}

PlyPropertyRequest listRequest(const char* element, const char* name, int storedItem, int memoryItem,
                               std::size_t offset, int storedCount, int memoryCount, std::size_t countOffset,
                               int capacity) {
    PlyPropertyRequest r = scalarRequest(element, name, storedItem, offset);
    r.memoryType = memoryItem;
    r.isList = 1;
    r.countStoredType = storedCount;
    r.countMemoryType = memoryCount;
    r.countOffset = countOffset;
    r.listCapacity = capacity;
    return r;
}

enum VertexRequestIndex {
    VertexX, VertexY, VertexZ, VertexFlags, VertexQuality, VertexRed, VertexGreen, VertexBlue,
    VertexDiffuseRed, VertexDiffuseGreen, VertexDiffuseBlue, VertexConfidence, VertexNx, VertexNy, VertexNz,
    VertexRequestCount
};

const PlyPropertyRequest& vertexRequest(int index) {
    static const std::array<PlyPropertyRequest, VertexRequestCount> table = {
        scalarRequest("vertex", "x", PlyTypeFloat, offsetof(PlyVertexRecord, x)),
        scalarRequest("vertex", "y", PlyTypeFloat, offsetof(PlyVertexRecord, y)),
        scalarRequest("vertex", "z", PlyTypeFloat, offsetof(PlyVertexRecord, z)),
        scalarRequest("vertex", "flags", PlyTypeInt, offsetof(PlyVertexRecord, flags)),
        scalarRequest("vertex", "quality", PlyTypeFloat, offsetof(PlyVertexRecord, quality)),
        scalarRequest("vertex", "red", PlyTypeUchar, offsetof(PlyVertexRecord, red)),
        scalarRequest("vertex", "green", PlyTypeUchar, offsetof(PlyVertexRecord, green)),
        scalarRequest("vertex", "blue", PlyTypeUchar, offsetof(PlyVertexRecord, blue)),
        scalarRequest("vertex", "diffuse_red", PlyTypeUchar, offsetof(PlyVertexRecord, red)),
        scalarRequest("vertex", "diffuse_green", PlyTypeUchar, offsetof(PlyVertexRecord, green)),
        scalarRequest("vertex", "diffuse_blue", PlyTypeUchar, offsetof(PlyVertexRecord, blue)),
        scalarRequest("vertex", "confidence", PlyTypeFloat, offsetof(PlyVertexRecord, quality)),
        scalarRequest("vertex", "nx", PlyTypeFloat, offsetof(PlyVertexRecord, nx)),
        scalarRequest("vertex", "ny", PlyTypeFloat, offsetof(PlyVertexRecord, ny)),
        scalarRequest("vertex", "nz", PlyTypeFloat, offsetof(PlyVertexRecord, nz)),
    };
    return table[static_cast<std::size_t>(index)];
}

// The accepted encodings of face corners, tried in this order.
std::array<PlyPropertyRequest, 5> faceCornerRequests() {
    const std::size_t indices = offsetof(PlyFaceRecord, indices);
    const std::size_t size = offsetof(PlyFaceRecord, size);
    const int capacity = PlyFaceRecord::kMaxCorners;
    return {
        listRequest("face", "vertex_indices", PlyTypeInt, PlyTypeInt, indices, PlyTypeUchar, PlyTypeUchar, size,
                    capacity),
        listRequest("face", "vertex_index", PlyTypeInt, PlyTypeInt, indices, PlyTypeUchar, PlyTypeChar, size,
                    capacity),
        listRequest("face", "vertex_indices", PlyTypeInt, PlyTypeInt, indices, PlyTypeChar, PlyTypeChar, size,
                    capacity),
        listRequest("face", "vertex_index", PlyTypeInt, PlyTypeInt, indices, PlyTypeChar, PlyTypeChar, size,
                    capacity),
        listRequest("face", "vertex_indices", PlyTypeUint, PlyTypeInt, indices, PlyTypeUchar, PlyTypeChar, size,
                    capacity),
    };
}

PlyPropertyRequest stripRequest() {
    PlyPropertyRequest r = listRequest("tristrips", "vertex_indices", PlyTypeInt, PlyTypeInt,
                                       offsetof(PlyStripRecord, indices), PlyTypeInt, PlyTypeInt,
                                       offsetof(PlyStripRecord, size), 0);
    r.allocateList = 1;
    return r;
}

std::int32_t loadLe32(const unsigned char* bytes) {
    return static_cast<std::int32_t>(std::uint32_t(bytes[0]) | std::uint32_t(bytes[1]) << 8 |
                                     std::uint32_t(bytes[2]) << 16 | std::uint32_t(bytes[3]) << 24);
}

float loadLeFloat(const unsigned char* bytes) {
    const std::uint32_t bits = static_cast<std::uint32_t>(loadLe32(bytes));
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// Instances larger than this go through the routines.
constexpr std::size_t kMaxPlannedInstance = 1 << 16;

// Offsets of the stored scalars whose four bytes must not all be zero
// (binary_big_endian int and float), relative to where they start.
using ZeroChecks = std::vector<std::size_t>;

bool passesZeroChecks(const unsigned char* bytes, const ZeroChecks& checks) {
    for (std::size_t offset : checks)
        if (allZero(bytes + offset, 4)) return false;
    return true;
}

// A binary vertex element of scalars only: fixed instance size; positions
// are float in both byte orders.
struct VertexPlan {
    bool usable = false;
    std::size_t size = 0;
    std::size_t offsets[3] = {0, 0, 0};
    ZeroChecks checks;
};

VertexPlan planVertices(const PlyElement& element, int format) {
    VertexPlan plan;
    if (format != PlyFormatBinaryLittleEndian && format != PlyFormatBinaryBigEndian) return plan;
    const std::size_t targets[3] = {offsetof(PlyVertexRecord, x), offsetof(PlyVertexRecord, y),
                                    offsetof(PlyVertexRecord, z)};
    bool found[3] = {false, false, false};
    for (const PlyProperty& property : element.properties) {
        if (property.isList || !property.routine) return plan;
        if (property.stored) {
            if (zeroMeansFailure(property.type, format)) plan.checks.push_back(plan.size);
            for (int axis = 0; axis < 3; ++axis) {
                if (property.request.valueOffset == targets[axis]) {
                    if (property.type != PlyTypeFloat || property.request.memoryType != PlyTypeFloat) return plan;
                    plan.offsets[axis] = plan.size;
                    found[axis] = true;
                }
            }
        }
        plan.size += static_cast<std::size_t>(kPlyTypeSizes[property.type]);
    }
    plan.usable = found[0] && found[1] && found[2] && plan.size <= kMaxPlannedInstance;
    return plan;
}

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

FacePlan planFaces(const PlyElement& element, int format) {
    FacePlan plan;
    if (format != PlyFormatBinaryLittleEndian && format != PlyFormatBinaryBigEndian) return plan;
    bool listSeen = false;
    for (const PlyProperty& property : element.properties) {
        if (!property.routine) return plan;
        if (property.isList) {
            const PlyPropertyRequest& r = property.request;
            if (listSeen || !property.stored || r.storedType != PlyTypeInt || r.memoryType != PlyTypeInt ||
                r.allocateList || r.valueOffset != offsetof(PlyFaceRecord, indices) ||
                r.countOffset != offsetof(PlyFaceRecord, size) || kPlyTypeSizes[r.countMemoryType] != 1 ||
                isFloatingType(r.countMemoryType) ||
                (r.countStoredType != PlyTypeUchar && r.countStoredType != PlyTypeChar))
                return plan;
            listSeen = true;
            plan.signedCount = r.countStoredType == PlyTypeChar;
            continue;
        }
        std::size_t& cursor = listSeen ? plan.after : plan.before;
        if (property.stored && zeroMeansFailure(property.type, format))
            (listSeen ? plan.checksAfter : plan.checksBefore).push_back(cursor);
        cursor += static_cast<std::size_t>(kPlyTypeSizes[property.type]);
    }
    plan.usable = listSeen && plan.before + plan.after <= kMaxPlannedInstance;
    return plan;
}

enum class Decoded { Ok, Failed, NotHere };

Decoded decodeVertex(PlyInput& input, const VertexPlan& plan, PlyVertexRecord& vertex) {
    if (!input.ensure(plan.size)) return Decoded::NotHere;
    const unsigned char* bytes = input.data();
    if (!passesZeroChecks(bytes, plan.checks)) return Decoded::Failed;
    vertex.x = loadLeFloat(bytes + plan.offsets[0]);
    vertex.y = loadLeFloat(bytes + plan.offsets[1]);
    vertex.z = loadLeFloat(bytes + plan.offsets[2]);
    input.advance(plan.size);
    return Decoded::Ok;
}

Decoded decodeFace(PlyInput& input, const FacePlan& plan, PlyFaceRecord& face) {
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
    for (std::size_t i = 0; i < items; ++i, item += 4) face.indices[i] = loadLe32(item);
    input.advance(total);
    return Decoded::Ok;
}

// Room for the instances the rest of the file can hold, never more: the
// declared count alone is not trusted.
template <typename Vector>
void reserveFor(Vector& array, int declared, std::uint64_t bytesLeft, std::uint64_t minInstanceBytes) {
    if (declared < 1 || bytesLeft == std::numeric_limits<std::uint64_t>::max() || minInstanceBytes == 0) return;
    std::uint64_t fit = bytesLeft / minInstanceBytes;
    if (fit > static_cast<std::uint64_t>(declared)) fit = static_cast<std::uint64_t>(declared);
    array.reserve(array.size() + static_cast<std::size_t>(fit));
}

std::uint64_t minimalInstanceBytes(const PlyElement& element, int format) {
    std::uint64_t bytes = 0;
    for (const PlyProperty& property : element.properties) {
        if (format == PlyFormatAscii)
            bytes += 2;  // a digit and a separator
        else
            bytes += property.isList ? 1 : static_cast<std::uint64_t>(kPlyTypeSizes[property.type]);
    }
    return bytes;
}

}  // namespace

void decodePlyStrip(const std::int32_t* indices, std::int32_t count, KelpTriMesh& mesh) {
    int restartParity = 0;
    for (std::int64_t k = 0; k < std::int64_t(count) - 2; ++k) {
        const std::int32_t corner = indices[k + 2];
        if (corner == -1) {
            // The next triangle starts behind the restart, unswapped.
            k += 2;
            restartParity = (k % 2 == 0) ? 1 : 0;
            continue;
        }
        const auto a = static_cast<std::uint32_t>(indices[k]);
        const auto b = static_cast<std::uint32_t>(indices[k + 1]);
        const auto c = static_cast<std::uint32_t>(corner);
        if ((k + restartParity) % 2 != 0)
            mesh.addFace(b, a, c);
        else
            mesh.addFace(a, b, c);
    }
}

PlyImportResult importPly(const char* path, KelpTriMesh* mesh) {
    PlyImportResult result;
    auto fail = [&](int code) {
        result.code = code;
        return result;
    };
    PlyFile ply;
    const PlyReportScope report(ply, result);
    if (!path || !mesh) return fail(PlyImportNoPath);

    if (ply.open(path) != 0) {
        result.libraryError = ply.lastError;
        return fail(ply.lastError);
    }

    // Positions: x, y and z of the first "vertex" element, as float.
    const int vertexIndex = ply.findElement("vertex");
    if (vertexIndex < 0) {
        ply.lastError = result.libraryError = PlyErrorNoSuchElement;
        return fail(PlyImportNoVertices);
    }
    PlyElement& vertexElement = ply.elements[static_cast<std::size_t>(vertexIndex)];
    for (int axis = VertexX; axis <= VertexZ; ++axis) {
        const int error = ply.checkRequest(vertexElement, vertexRequest(axis));
        if (error != PlyErrorNone) {
            ply.lastError = result.libraryError = error;
            return fail(PlyImportNoVertices);
        }
    }

    // Face corners in one of the accepted encodings, else strips.
    const int faceIndex = ply.findElement("face");
    PlyElement* faceElement = faceIndex >= 0 ? &ply.elements[static_cast<std::size_t>(faceIndex)] : nullptr;
    auto requestFace = [&](const PlyPropertyRequest& request) {
        if (!faceElement) {
            ply.lastError = PlyErrorNoSuchElement;
            return false;
        }
        const int error = ply.checkRequest(*faceElement, request);
        if (error != PlyErrorNone) ply.lastError = error;
        return error == PlyErrorNone;
    };
    bool haveFaces = false;
    for (const PlyPropertyRequest& request : faceCornerRequests()) {
        if (requestFace(request)) {
            haveFaces = true;
            break;
        }
    }
    bool haveStrips = false;
    if (!haveFaces) haveStrips = ply.requestProperty(stripRequest()) == 0;
    if (!haveFaces && !haveStrips) {
        result.libraryError = ply.lastError;
        return fail(PlyImportNoFaces);
    }
    const int stripIndex = haveStrips ? ply.findElement("tristrips") : -1;

    // Optional properties: parsed and dropped, noted in the mask.
    auto requestVertex = [&](int index) { return ply.checkRequest(vertexElement, vertexRequest(index)) == 0; };
    if (requestVertex(VertexFlags)) result.attributeMask |= PlyHasVertexFlags;
    if (requestVertex(VertexNx) && requestVertex(VertexNy) && requestVertex(VertexNz))
        result.attributeMask |= PlyHasVertexNormal;
    if (requestVertex(VertexRed)) {
        requestVertex(VertexGreen);
        requestVertex(VertexBlue);
        result.attributeMask |= PlyHasVertexColour;
    }
    if (requestVertex(VertexDiffuseRed)) {
        requestVertex(VertexDiffuseGreen);
        requestVertex(VertexDiffuseBlue);
        result.attributeMask |= PlyHasVertexColour;
    }
    if (requestFace(scalarRequest("face", "flags", PlyTypeInt, offsetof(PlyFaceRecord, flags))))
        result.attributeMask |= PlyHasFaceFlags;
    if (requestFace(scalarRequest("face", "red", PlyTypeUchar, offsetof(PlyFaceRecord, red)))) {
        requestFace(scalarRequest("face", "green", PlyTypeUchar, offsetof(PlyFaceRecord, green)));
        requestFace(scalarRequest("face", "blue", PlyTypeUchar, offsetof(PlyFaceRecord, blue)));
        result.attributeMask |= PlyHasFaceColour;
    }
    if (requestFace(listRequest("face", "color", PlyTypeFloat, PlyTypeFloat, offsetof(PlyFaceRecord, colour),
                                PlyTypeUchar, PlyTypeUchar, offsetof(PlyFaceRecord, colourCount),
                                PlyFaceRecord::kMaxListValues)))
        result.attributeMask |= PlyHasFaceColourList;

    // The records live for the whole walk: an element that stores nothing
    // into them sees what the last instance left.
    PlyVertexRecord vertex{};
    PlyFaceRecord face{};
    PlyStripRecord strip{};
    auto asRecord = [](auto& record) { return reinterpret_cast<unsigned char*>(&record); };

    for (std::size_t e = 0; e < ply.elements.size(); ++e) {
        PlyElement& element = ply.elements[e];
        // An element without properties holds no data: its instances would
        // never fail, so a huge count would spin (or append stale records)
        // without reading a byte. It is passed over like an empty one.
        if (element.count < 1 || element.properties.empty()) continue;
        ply.selectElement(static_cast<int>(e));
        const std::uint64_t minBytes = minimalInstanceBytes(element, ply.format);

        if (element.name == "vertex") {
            const VertexPlan plan = planVertices(element, ply.format);
            const std::uint64_t left = ply.input.bytesLeft();
            reserveFor(mesh->vertices, element.count, left, plan.usable ? plan.size : minBytes);
            reserveFor(mesh->vertexFlags, element.count, left, plan.usable ? plan.size : minBytes);
            for (int n = 0; n < element.count; ++n) {
                Decoded decoded = plan.usable ? decodeVertex(ply.input, plan, vertex) : Decoded::NotHere;
                if (decoded == Decoded::NotHere)
                    decoded = ply.readInstance(asRecord(vertex)) == 0 ? Decoded::Ok : Decoded::Failed;
                if (decoded == Decoded::Failed) return fail(PlyImportBadInstance);
                mesh->addVertex({vertex.x, vertex.y, vertex.z});
            }
        } else if (element.name == "face") {
            const FacePlan plan = planFaces(element, ply.format);
            const std::uint64_t left = ply.input.bytesLeft();
            // Every accepted face has three corners.
            const std::uint64_t faceBytes = ply.format == PlyFormatAscii ? 8 : minBytes + 12;
            reserveFor(mesh->faces, element.count, left, faceBytes);
            reserveFor(mesh->faceFlags, element.count, left, faceBytes);
            for (int n = 0; n < element.count; ++n) {
                Decoded decoded = plan.usable ? decodeFace(ply.input, plan, face) : Decoded::NotHere;
                if (decoded == Decoded::NotHere)
                    decoded = ply.readInstance(asRecord(face)) == 0 ? Decoded::Ok : Decoded::Failed;
                if (decoded == Decoded::Failed) return fail(PlyImportBadInstance);
                if (face.size != 3) return fail(PlyImportNotTriangle);
                mesh->addFace(static_cast<std::uint32_t>(face.indices[0]), static_cast<std::uint32_t>(face.indices[1]),
                              static_cast<std::uint32_t>(face.indices[2]));
            }
        } else if (element.name == "tristrips") {
            const bool decodes = static_cast<int>(e) == stripIndex;
            for (int n = 0; n < element.count; ++n) {
                const bool ok = ply.readInstance(asRecord(strip)) == 0;
                if (ok && decodes && strip.indices) decodePlyStrip(strip.indices, strip.size, *mesh);
                std::free(strip.indices);
                strip = PlyStripRecord{};
                if (!ok) return fail(PlyImportBadInstance);
            }
        } else {
            for (int n = 0; n < element.count; ++n)
                if (ply.readInstance(nullptr) != 0) return fail(PlyImportBadInstance);
        }
    }
    return result;
}

}  // namespace KelpPly

namespace KelpGraphic {

bool KelpReadPly(const char* path, KelpCore::KelpTriMesh* mesh) {
    KelpRecord::Call call("KelpReadPly", path, KelpRecord::Locale::Untouched);
    return KelpPly::importPly(path, mesh).code == KelpPly::PlyImportOk;
}

}  // namespace KelpGraphic
