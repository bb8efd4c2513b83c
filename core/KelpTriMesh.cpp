#include <KelpTriMesh.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace KelpCore {

namespace {
std::size_t pixelBytes(const KelpImageData<unsigned char>& image) {
    return static_cast<std::size_t>(image.width) * image.height * image.channels;
}

KelpImageData<unsigned char> deepCopy(const KelpImageData<unsigned char>& image) {
    KelpImageData<unsigned char> copy = image;
    copy.data = nullptr;
    if (image.data) {
        const std::size_t bytes = pixelBytes(image);
        copy.data = new unsigned char[bytes == 0 ? 1 : bytes];
        std::copy_n(image.data, bytes, copy.data);
    }
    return copy;
}
}  // namespace

KelpTriMesh::KelpTriMesh(const KelpTriMesh& other)
    : KelpPointSet(other),
      recordedFaceCount(other.recordedFaceCount),
      faceCount(other.faceCount),
      faceAttributes(other.faceAttributes),
      faces(other.faces),
      faceFlags(other.faceFlags),
      faceNormals(other.faceNormals),
      faceAuxVectors(other.faceAuxVectors),
      faceAuxValues(other.faceAuxValues),
      hasTexture(other.hasTexture),
      textureImage(deepCopy(other.textureImage)),
      hasFaceTexCoordIndices(other.hasFaceTexCoordIndices),
      texCoordCount(other.texCoordCount),
      faceTexCoordIndices(other.faceTexCoordIndices),
      texCoords(other.texCoords) {}

KelpTriMesh::KelpTriMesh(KelpTriMesh&& other) noexcept
    : KelpPointSet(std::move(other)),
      recordedFaceCount(other.recordedFaceCount),
      faceCount(other.faceCount),
      faceAttributes(other.faceAttributes),
      faces(std::move(other.faces)),
      faceFlags(std::move(other.faceFlags)),
      faceNormals(std::move(other.faceNormals)),
      faceAuxVectors(std::move(other.faceAuxVectors)),
      faceAuxValues(std::move(other.faceAuxValues)),
      hasTexture(other.hasTexture),
      textureImage(std::exchange(other.textureImage, {})),
      hasFaceTexCoordIndices(other.hasFaceTexCoordIndices),
      texCoordCount(other.texCoordCount),
      faceTexCoordIndices(std::move(other.faceTexCoordIndices)),
      texCoords(std::move(other.texCoords)) {
    other.hasTexture = false;
}

KelpTriMesh& KelpTriMesh::operator=(const KelpTriMesh& other) {
    if (this != &other) {
        KelpTriMesh copy(other);
        *this = std::move(copy);
    }
    return *this;
}

KelpTriMesh& KelpTriMesh::operator=(KelpTriMesh&& other) noexcept {
    if (this != &other) {
        releaseTexture();
        KelpPointSet::operator=(std::move(other));
        recordedFaceCount = other.recordedFaceCount;
        faceCount = other.faceCount;
        faceAttributes = other.faceAttributes;
        faces = std::move(other.faces);
        faceFlags = std::move(other.faceFlags);
        faceNormals = std::move(other.faceNormals);
        faceAuxVectors = std::move(other.faceAuxVectors);
        faceAuxValues = std::move(other.faceAuxValues);
        hasTexture = std::exchange(other.hasTexture, false);
        textureImage = std::exchange(other.textureImage, {});
        hasFaceTexCoordIndices = other.hasFaceTexCoordIndices;
        texCoordCount = other.texCoordCount;
        faceTexCoordIndices = std::move(other.faceTexCoordIndices);
        texCoords = std::move(other.texCoords);
    }
    return *this;
}

KelpTriMesh::~KelpTriMesh() { releaseTexture(); }

void KelpTriMesh::releaseTexture() {
    delete[] textureImage.data;
    textureImage = {};
}

void KelpTriMesh::reset() {
    KelpPointSet::reset();
    recordedFaceCount = 0;
    faceCount = 0;
    detail::release(faces);
    detail::release(faceFlags);
    detail::release(faceNormals);
    detail::release(faceAuxVectors);
    detail::release(faceAuxValues);
    hasTexture = false;
    releaseTexture();
    hasFaceTexCoordIndices = false;
    texCoordCount = 0;
    detail::release(faceTexCoordIndices);
    detail::release(texCoords);
}

void KelpTriMesh::setFaceCount(std::uint32_t count) {
    faceCount = count;
    faces.resize(count);
    faceFlags.resize(count);
    std::fill(faceFlags.begin(), faceFlags.end(), 0u);
    updateFaceAttributes();
}

void KelpTriMesh::updateFaceAttributes() {
    detail::followAttributeBit(faceNormals, (faceAttributes & KelpAttributeNormals) != 0, faceCount);
    detail::followAttributeBit(faceAuxVectors, (faceAttributes & KelpAttributeAuxVectors) != 0, faceCount);
    detail::followAttributeBit(faceAuxValues, (faceAttributes & KelpAttributeAuxValues) != 0, faceCount);
}

}  // namespace KelpCore
