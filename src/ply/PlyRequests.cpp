#include "ply/PlyRequests.h"

#include "ply/PlyImport.h"

#include <cstddef>

namespace KelpPly {

namespace {

using T = PlyScalarType;

PlyPropertyRequest scalarRequest(const char* element, const char* name, T type, std::size_t offset) {
    PlyPropertyRequest r;
    r.elementName = element;
    r.propertyName = name;
    r.storedType = type;
    r.memoryType = type;
    r.valueOffset = offset;
    return r;
}

PlyPropertyRequest listRequest(const char* element, const char* name, T storedItem, T memoryItem,
                               std::size_t offset, T storedCount, T memoryCount, std::size_t countOffset,
                               int capacity) {
    PlyPropertyRequest r = scalarRequest(element, name, storedItem, offset);
    r.memoryType = memoryItem;
    r.isList = true;
    r.countStoredType = storedCount;
    r.countMemoryType = memoryCount;
    r.countOffset = countOffset;
    r.listCapacity = capacity;
    return r;
}

PlyPropertyRequest vertexScalar(const char* name, T type, std::size_t offset) {
    return scalarRequest("vertex", name, type, offset);
}

PlyPropertyRequest faceCorners(const char* name, T storedItem, T storedCount, T memoryCount) {
    return listRequest("face", name, storedItem, T::Int, offsetof(PlyFaceRecord, indices), storedCount, memoryCount,
                       offsetof(PlyFaceRecord, size), PlyFaceRecord::kMaxCorners);
}

}  // namespace

const PlyPropertyRequest& vertexRequest(PlyVertexRequest index) {
    static const std::array<PlyPropertyRequest, VertexRequestCount> table = {
        vertexScalar("x", T::Float, offsetof(PlyVertexRecord, x)),
        vertexScalar("y", T::Float, offsetof(PlyVertexRecord, y)),
        vertexScalar("z", T::Float, offsetof(PlyVertexRecord, z)),
        vertexScalar("flags", T::Int, offsetof(PlyVertexRecord, flags)),
        vertexScalar("quality", T::Float, offsetof(PlyVertexRecord, quality)),
        vertexScalar("red", T::Uchar, offsetof(PlyVertexRecord, red)),
        vertexScalar("green", T::Uchar, offsetof(PlyVertexRecord, green)),
        vertexScalar("blue", T::Uchar, offsetof(PlyVertexRecord, blue)),
        vertexScalar("diffuse_red", T::Uchar, offsetof(PlyVertexRecord, red)),
        vertexScalar("diffuse_green", T::Uchar, offsetof(PlyVertexRecord, green)),
        vertexScalar("diffuse_blue", T::Uchar, offsetof(PlyVertexRecord, blue)),
        vertexScalar("confidence", T::Float, offsetof(PlyVertexRecord, quality)),
        vertexScalar("nx", T::Float, offsetof(PlyVertexRecord, nx)),
        vertexScalar("ny", T::Float, offsetof(PlyVertexRecord, ny)),
        vertexScalar("nz", T::Float, offsetof(PlyVertexRecord, nz)),
    };
    return table[static_cast<std::size_t>(index)];
}

const PlyPropertyRequest& faceRequest(PlyFaceRequest index) {
    static const std::array<PlyPropertyRequest, FaceRequestCount> table = {
        scalarRequest("face", "flags", T::Int, offsetof(PlyFaceRecord, flags)),
        scalarRequest("face", "red", T::Uchar, offsetof(PlyFaceRecord, red)),
        scalarRequest("face", "green", T::Uchar, offsetof(PlyFaceRecord, green)),
        scalarRequest("face", "blue", T::Uchar, offsetof(PlyFaceRecord, blue)),
        listRequest("face", "color", T::Float, T::Float, offsetof(PlyFaceRecord, colour), T::Uchar, T::Uchar,
                    offsetof(PlyFaceRecord, colourCount), PlyFaceRecord::kMaxListValues),
    };
    return table[static_cast<std::size_t>(index)];
}

const std::array<PlyPropertyRequest, kFaceCornerEncodings>& faceCornerRequests() {
    static const std::array<PlyPropertyRequest, kFaceCornerEncodings> table = {
        faceCorners("vertex_indices", T::Int, T::Uchar, T::Uchar),
        faceCorners("vertex_index", T::Int, T::Uchar, T::Char),
        faceCorners("vertex_indices", T::Int, T::Char, T::Char),
        faceCorners("vertex_index", T::Int, T::Char, T::Char),
        faceCorners("vertex_indices", T::Uint, T::Uchar, T::Char),
    };
    return table;
}

const PlyPropertyRequest& stripRequest() {
    static const PlyPropertyRequest request = [] {
        PlyPropertyRequest r = listRequest("tristrips", "vertex_indices", T::Int, T::Int,
                                           offsetof(PlyStripRecord, indices), T::Int, T::Int,
                                           offsetof(PlyStripRecord, size), 0);
        r.allocateList = true;
        return r;
    }();
    return request;
}

}  // namespace KelpPly
