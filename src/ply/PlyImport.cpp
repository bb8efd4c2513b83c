// The import loop: asks the PLY reader for positions, face corners (or
// strips) and the optional properties it knows (PlyRequests.h), then walks
// the elements in header order and appends vertices and triangles to the
// mesh. The common binary and ASCII layouts are decoded a whole instance at
// a time (PlyInstanceDecoder.h, PlyAsciiDecoder.h).
#include "ply/PlyImport.h"

#include "ply/PlyFile.h"
#include "ply/PlyAsciiDecoder.h"
#include "ply/PlyInstanceDecoder.h"
#include "ply/PlyRequests.h"
#include "report/Recorder.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace KelpPly {

namespace {

using KelpCore::KelpTriMesh;

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

std::uint64_t minimalInstanceBytes(const PlyElement& element, PlyFormat format) {
    std::uint64_t bytes = 0;
    for (const PlyProperty& property : element.properties) {
        if (format == PlyFormat::Ascii)
            bytes += 2;  // a digit and a separator
        else
            bytes += property.isList ? 1 : static_cast<std::uint64_t>(plyTypeSize(property.type));
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

// One instance: the whole-instance decoder where the plan applies and the
// instance is buffered, else the per-property routines.
template <typename Decode>
bool decodeOrRead(PlyFile& ply, bool planned, Decode decode, unsigned char* record) {
    const Decoded decoded = planned ? decode() : Decoded::NotHere;
    if (decoded == Decoded::NotHere) return ply.readInstance(record);
    return decoded == Decoded::Ok;
}

// Moves a file into the frame that declares it and back out when that frame
// ends, so that the owner sees the file as the work left it.
struct BorrowedFile {
    explicit BorrowedFile(PlyFile& from) : file(std::move(from)), owner(from) {}
    ~BorrowedFile() { owner = std::move(file); }

    PlyFile file;
    PlyFile& owner;
};

// Reads every element in header order into the mesh; the importer's code.
// The file is borrowed into this frame: the per-instance loops then reach
// the input's position at a fixed frame offset rather than through a pointer
// that the loops' register pressure keeps reloading (about six instructions
// an instance).
int readElements(PlyFile& owner, KelpTriMesh& mesh, int stripIndex) {
    BorrowedFile borrowed(owner);
    PlyFile& ply = borrowed.file;
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
            const AsciiVertexPlan asciiPlan = planAsciiVertices(element, ply.format);
            const std::uint64_t instanceBytes = plan.usable ? plan.size : minBytes;
            const std::uint64_t fit = instancesThatFit(element.count, ply.input.bytesLeft(), instanceBytes);
            code = appendInBatches(count, makeVertexRoom(mesh, fit), vertexRoom, [&] {
                auto decode = [&] {
                    return plan.usable ? decodeVertex(ply.input, plan, vertex)
                                       : decodeAsciiVertex(ply.input, asciiPlan, vertex);
                };
                return decodeOrRead(ply, plan.usable || asciiPlan.usable, decode, asRecord(vertex)) ? appendVertex()
                                                                                                     : PlyImportBadInstance;
            });
        } else if (element.name == "face") {
            const FacePlan plan = planFaces(element, ply.format);
            const AsciiFacePlan asciiPlan = planAsciiFaces(element, ply.format);
            // Every accepted face has three corners.
            const std::uint64_t faceBytes = ply.format == PlyFormat::Ascii ? 8 : minBytes + 12;
            const std::uint64_t fit = instancesThatFit(element.count, ply.input.bytesLeft(), faceBytes);
            code = appendInBatches(count, makeFaceRoom(mesh, fit), faceRoom, [&] {
                auto decode = [&] {
                    return plan.usable ? decodeFace(ply.input, plan, face) : decodeAsciiFace(ply.input, asciiPlan, face);
                };
                return decodeOrRead(ply, plan.usable || asciiPlan.usable, decode, asRecord(face)) ? appendFace()
                                                                                                  : PlyImportBadInstance;
            });
        } else if (element.name == "tristrips") {
            const bool decodes = static_cast<int>(e) == stripIndex;
            for (int n = 0; n < element.count; ++n) {
                strip = PlyStripRecord{};
                const bool ok = ply.readInstance(asRecord(strip));
                const std::unique_ptr<std::int32_t, decltype(&std::free)> owned(strip.indices, &std::free);
                if (!ok) return PlyImportBadInstance;
                if (decodes && strip.indices) decodePlyStrip(strip.indices, strip.size, mesh);
            }
            strip = PlyStripRecord{};
        } else {
            for (int n = 0; n < element.count; ++n)
                if (!ply.readInstance(nullptr)) return PlyImportBadInstance;
        }
        if (code != PlyImportOk) return code;
    }
    return PlyImportOk;
}

// Asks for what the importer maps; the importer's code. `stripIndex` becomes
// the strip element to decode, or -1 when faces were found.
int requestProperties(PlyFile& ply, int& stripIndex) {
    // Positions: x, y and z of the first "vertex" element, as float.
    const int vertexIndex = ply.findElement("vertex");
    if (vertexIndex < 0) {
        ply.lastError = PlyErrorNoSuchElement;
        return PlyImportNoVertices;
    }
    PlyElement& vertexElement = ply.elements[static_cast<std::size_t>(vertexIndex)];
    for (PlyVertexRequest axis : {VertexX, VertexY, VertexZ}) {
        const int error = ply.checkRequest(vertexElement, vertexRequest(axis));
        if (error != PlyErrorNone) {
            ply.lastError = error;
            return PlyImportNoVertices;
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
    const bool haveStrips = !haveFaces && ply.requestProperty(stripRequest());
    if (!haveFaces && !haveStrips) return PlyImportNoFaces;
    stripIndex = haveStrips ? ply.findElement("tristrips") : -1;

    // Optional properties: parsed and dropped. A colour or normal is asked
    // for in full only when its first component is there.
    auto requestVertex = [&](PlyVertexRequest index) {
        return ply.checkRequest(vertexElement, vertexRequest(index)) == PlyErrorNone;
    };
    requestVertex(VertexFlags);
    if (requestVertex(VertexNx) && requestVertex(VertexNy)) requestVertex(VertexNz);
    if (requestVertex(VertexRed)) {
        requestVertex(VertexGreen);
        requestVertex(VertexBlue);
    }
    if (requestVertex(VertexDiffuseRed)) {
        requestVertex(VertexDiffuseGreen);
        requestVertex(VertexDiffuseBlue);
    }
    requestFace(faceRequest(FaceFlags));
    if (requestFace(faceRequest(FaceRed))) {
        requestFace(faceRequest(FaceGreen));
        requestFace(faceRequest(FaceBlue));
    }
    requestFace(faceRequest(FaceColourList));
    return PlyImportOk;
}

}  // namespace

int importPly(PlyFile& ply, KelpTriMesh& mesh) {
    int stripIndex = -1;
    const int code = requestProperties(ply, stripIndex);
    if (code != PlyImportOk) return code;
    try {
        return readElements(ply, mesh, stripIndex);
    } catch (const std::bad_alloc&) {
        KelpRecord::fail(KelpRecord::Code::PlyOutOfMemory, {}, ply.input.offset());
        // What was appended before stays; the mesh's arrays were made room
        // for ahead of every append, so they agree with its counts.
        return PlyImportBadInstance;
    }
}

}  // namespace KelpPly
