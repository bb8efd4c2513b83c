#include <KelpPointSet.h>

namespace KelpCore {

KelpPointSet::~KelpPointSet() = default;

void KelpPointSet::reset() {
    vertexCount = 0;
    detail::release(vertices);
    detail::release(vertexFlags);
    detail::release(vertexNormals);
    detail::release(vertexAuxVectors);
    detail::release(vertexAuxValues);
}

void KelpPointSet::updateVertexAttributes() {
    detail::followAttributeBit(vertexNormals, (vertexAttributes & KelpAttributeNormals) != 0, vertexCount);
    detail::followAttributeBit(vertexAuxVectors, (vertexAttributes & KelpAttributeAuxVectors) != 0, vertexCount);
    detail::followAttributeBit(vertexAuxValues, (vertexAttributes & KelpAttributeAuxValues) != 0, vertexCount);
}

void KelpPointSet::setVertexCount(std::uint32_t count) {
    vertexCount = count;
    vertices.resize(count);
    vertexFlags.resize(count, 0u);
    updateVertexAttributes();
}

}  // namespace KelpCore
