// KelpReadPly: asks the PLY reader for positions, face corners (or strips)
// and the optional properties it knows, then walks the elements in header
// order and appends vertices and triangles to the mesh. The common binary
// layouts are decoded a whole instance at a time (PlyInstanceDecoder.h).
#include "ply/PlyImport.h"

#include <KelpFileIO.h>

#include "report/Recorder.h"

#include "ply/PlyFile.h"
#include "ply/PlyInstanceDecoder.h"
#include "ply/PlyReport.h"
#include "ply/PlyValues.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
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

// Room for `extra` more entries, growing by at least half so that many small
// elements append in linear time; returns the spare room after that.
template <typename Vector>
std::uint64_t makeRoom(Vector& array, std::uint64_t extra) {
    const std::uint64_t needed = array.size() + extra;
    if (needed > array.capacity()) {
        const std::uint64_t grown = array.capacity() + array.capacity() / 2;
        array.reserve(static_cast<std::size_t>(needed > grown ? needed : grown));
    }
    return array.capacity() - array.size();
}

// Room for `extra` more entries in every array that addVertex (or addFace)
// appends to, so that no append fails halfway through an entry; returns how
// many entries can be appended before room must be made again. A total the
// 32-bit count cannot hold is an allocation failure like any other.
template <typename Entries>
std::uint64_t makeEntryRoom(std::uint32_t count, std::uint32_t attributes, std::uint64_t extra, Entries& entries,
                            std::vector<std::uint32_t>& flags, std::vector<KelpCore::Vec3f>& normals,
                            std::vector<KelpCore::Vec3f>& auxVectors, std::vector<float>& auxValues) {
    constexpr std::uint64_t kMaxCount = std::numeric_limits<std::uint32_t>::max();
    if (count + extra > kMaxCount) throw std::bad_alloc();
    std::uint64_t room = std::min(makeRoom(entries, extra), makeRoom(flags, extra));
    if (attributes & KelpCore::KelpAttributeNormals) room = std::min(room, makeRoom(normals, extra));
    if (attributes & KelpCore::KelpAttributeAuxVectors) room = std::min(room, makeRoom(auxVectors, extra));
    if (attributes & KelpCore::KelpAttributeAuxValues) room = std::min(room, makeRoom(auxValues, extra));
    return std::min(room, kMaxCount - count);
}

std::uint64_t makeVertexRoom(KelpTriMesh& mesh, std::uint64_t extra) {
    return makeEntryRoom(mesh.vertexCount, mesh.vertexAttributes, extra, mesh.vertices, mesh.vertexFlags,
                         mesh.vertexNormals, mesh.vertexAuxVectors, mesh.vertexAuxValues);
}

std::uint64_t makeFaceRoom(KelpTriMesh& mesh, std::uint64_t extra) {
    return makeEntryRoom(mesh.faceCount, mesh.faceAttributes, extra, mesh.faces, mesh.faceFlags, mesh.faceNormals,
                         mesh.faceAuxVectors, mesh.faceAuxValues);
}

// Calls `appendOne` (an importer code) `count` times, in batches that fit the
// room `makeRoom(extra)` made, so that appending needs no check of its own.
template <typename MakeRoom, typename AppendOne>
int appendInBatches(std::uint64_t count, std::uint64_t room, MakeRoom makeRoom, AppendOne appendOne) {
    for (std::uint64_t done = 0; done < count;) {
        if (room == 0) room = makeRoom(1);
        const std::uint64_t batch = std::min(room, count - done);
        for (std::uint64_t i = 0; i < batch; ++i) {
            const int code = appendOne();
            if (code != PlyImportOk) return code;
        }
        room -= batch;
        done += batch;
    }
    return PlyImportOk;
}

void addFace(KelpTriMesh& mesh, std::int32_t a, std::int32_t b, std::int32_t c) {
    mesh.addFace(static_cast<std::uint32_t>(a), static_cast<std::uint32_t>(b), static_cast<std::uint32_t>(c));
}

// Room for the instances the rest of the file can hold, never more: the
// declared count alone is not trusted for elements that read data.
std::uint64_t instancesThatFit(int declared, std::uint64_t bytesLeft, std::uint64_t minInstanceBytes) {
    if (declared < 1 || bytesLeft == std::numeric_limits<std::uint64_t>::max() || minInstanceBytes == 0) return 0;
    const std::uint64_t fit = bytesLeft / minInstanceBytes;
    return fit < static_cast<std::uint64_t>(declared) ? fit : static_cast<std::uint64_t>(declared);
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
    // At most one triangle per index after the second.
    if (count > 2) makeFaceRoom(mesh, static_cast<std::uint64_t>(count) - 2);
    int restartParity = 0;
    for (std::int64_t k = 0; k < std::int64_t(count) - 2; ++k) {
        const std::int32_t corner = indices[k + 2];
        if (corner == -1) {
            // The next triangle starts behind the restart, unswapped.
            k += 2;
            restartParity = (k % 2 == 0) ? 1 : 0;
            continue;
        }
        if ((k + restartParity) % 2 != 0)
            addFace(mesh, indices[k + 1], indices[k], corner);
        else
            addFace(mesh, indices[k], indices[k + 1], corner);
    }
}

namespace {

// Reads every element in header order into the mesh; the importer's code.
int readElements(PlyFile& ply, KelpTriMesh& mesh, int stripIndex) {
    // The records live for the whole walk: an element that stores nothing
    // into them sees what the last instance left.
    PlyVertexRecord vertex{};
    PlyFaceRecord face{};
    PlyStripRecord strip{};
    auto asRecord = [](auto& record) { return reinterpret_cast<unsigned char*>(&record); };

    auto vertexRoom = [&](std::uint64_t extra) { return makeVertexRoom(mesh, extra); };
    auto faceRoom = [&](std::uint64_t extra) { return makeFaceRoom(mesh, extra); };
    auto appendVertex = [&] {
        mesh.addVertex({vertex.x, vertex.y, vertex.z});
        return PlyImportOk;
    };
    auto appendFace = [&] {
        if (face.size != 3) return PlyImportNotTriangle;
        addFace(mesh, face.indices[0], face.indices[1], face.indices[2]);
        return PlyImportOk;
    };

    for (std::size_t e = 0; e < ply.elements.size(); ++e) {
        PlyElement& element = ply.elements[e];
        if (element.count < 1) continue;
        const auto count = static_cast<std::uint64_t>(element.count);
        int code = PlyImportOk;
        if (element.properties.empty()) {
            // Nothing to read: every instance is the load record as it stands.
            // A strip record holds no strip between instances (each is freed
            // once decoded), and other elements have no record.
            if (element.name == "vertex" || element.name == "face")
                KelpRecord::note(KelpRecord::Code::PlyElementWithoutProperties, element.name, count);
            if (element.name == "vertex")
                code = appendInBatches(count, makeVertexRoom(mesh, count), vertexRoom, appendVertex);
            else if (element.name == "face")
                code = face.size == 3 ? appendInBatches(count, makeFaceRoom(mesh, count), faceRoom, appendFace)
                                      : PlyImportNotTriangle;
            if (code != PlyImportOk) return code;
            continue;
        }
        ply.selectElement(static_cast<int>(e));
        const std::uint64_t minBytes = minimalInstanceBytes(element, ply.format);

        if (element.name == "vertex") {
            const VertexPlan plan = planVertices(element, ply.format);
            const std::uint64_t instanceBytes = plan.usable ? plan.size : minBytes;
            const std::uint64_t fit = instancesThatFit(element.count, ply.input.bytesLeft(), instanceBytes);
            code = appendInBatches(count, makeVertexRoom(mesh, fit), vertexRoom, [&] {
                Decoded decoded = plan.usable ? decodeVertex(ply.input, plan, vertex) : Decoded::NotHere;
                if (decoded == Decoded::NotHere)
                    decoded = ply.readInstance(asRecord(vertex)) == 0 ? Decoded::Ok : Decoded::Failed;
                if (decoded == Decoded::Failed) return PlyImportBadInstance;
                return appendVertex();
            });
        } else if (element.name == "face") {
            const FacePlan plan = planFaces(element, ply.format);
            // Every accepted face has three corners.
            const std::uint64_t faceBytes = ply.format == PlyFormatAscii ? 8 : minBytes + 12;
            const std::uint64_t fit = instancesThatFit(element.count, ply.input.bytesLeft(), faceBytes);
            code = appendInBatches(count, makeFaceRoom(mesh, fit), faceRoom, [&] {
                Decoded decoded = plan.usable ? decodeFace(ply.input, plan, face) : Decoded::NotHere;
                if (decoded == Decoded::NotHere)
                    decoded = ply.readInstance(asRecord(face)) == 0 ? Decoded::Ok : Decoded::Failed;
                if (decoded == Decoded::Failed) return PlyImportBadInstance;
                return appendFace();
            });
        } else if (element.name == "tristrips") {
            const bool decodes = static_cast<int>(e) == stripIndex;
            for (int n = 0; n < element.count; ++n) {
                strip = PlyStripRecord{};
                const bool ok = ply.readInstance(asRecord(strip)) == 0;
                const std::unique_ptr<std::int32_t, decltype(&std::free)> owned(strip.indices, &std::free);
                if (!ok) return PlyImportBadInstance;
                if (decodes && strip.indices) decodePlyStrip(strip.indices, strip.size, mesh);
            }
            strip = PlyStripRecord{};
        } else {
            for (int n = 0; n < element.count; ++n)
                if (ply.readInstance(nullptr) != 0) return PlyImportBadInstance;
        }
        if (code != PlyImportOk) return code;
    }
    return PlyImportOk;
}

}  // namespace

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

    try {
        result.code = readElements(ply, *mesh, stripIndex);
    } catch (const std::bad_alloc&) {
        KelpRecord::fail(KelpRecord::Code::PlyOutOfMemory, {}, ply.input.offset());
        // What was appended before stays; the mesh's arrays were made room
        // for ahead of every append, so they agree with its counts.
        result.code = PlyImportBadInstance;
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
