// The triangle mesh container: a point set with triangles, per-face arrays and
// an optional texture whose pixels the mesh owns.
#pragma once

#include <KelpExport.h>
#include <KelpImageData.h>
#include <KelpPointSet.h>

#include <cstdint>
#include <vector>

namespace KelpCore {

class KELP_CORE_API KelpTriMesh : public KelpPointSet {
public:
    KelpTriMesh() = default;
    // Copies take their own copy of the texture pixels, so that each mesh
    // releases only what it owns.
    KelpTriMesh(const KelpTriMesh& other);
    KelpTriMesh(KelpTriMesh&& other) noexcept;
    KelpTriMesh& operator=(const KelpTriMesh& other);
    KelpTriMesh& operator=(KelpTriMesh&& other) noexcept;
    ~KelpTriMesh() override;

    // Empties the mesh (vertices, faces, texture and texture coordinates);
    // the attribute bits stay.
    void reset() override;

    // Replaces the face count: sizes `faces`, sets every face flag to 0 and
    // sizes the optional per-face arrays.
    void setFaceCount(std::uint32_t count);

    // Sizes each optional per-face array to faceCount when its bit is set and
    // releases it when the bit is clear.
    void updateFaceAttributes();

    // Appends one triangle with default attributes; indices are not checked.
    void addFace(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
        detail::append(faces, Vec3u{a, b, c});
        detail::append(faceFlags, 0u);
        if (faceAttributes & KelpAttributeNormals) detail::append(faceNormals, Vec3f{0.0f, 0.0f, 1.0f});
        if (faceAttributes & KelpAttributeAuxVectors) detail::append(faceAuxVectors, Vec3f{0.0f, 0.0f, 0.0f});
        if (faceAttributes & KelpAttributeAuxValues) detail::append(faceAuxValues, 0.0f);
        ++faceCount;
    }

    // Frees the texture pixels and empties the image record.
    void releaseTexture();

    std::uint32_t recordedFaceCount = 0;
    std::uint32_t faceCount = 0;
    std::uint32_t faceAttributes = 0;
    std::vector<Vec3u> faces;
    std::vector<std::uint32_t> faceFlags;
    std::vector<Vec3f> faceNormals;
    std::vector<Vec3f> faceAuxVectors;
    std::vector<float> faceAuxValues;
    bool hasTexture = false;
    KelpImageData<unsigned char> textureImage;
    bool hasFaceTexCoordIndices = false;
    std::uint32_t texCoordCount = 0;
    std::vector<Vec3u> faceTexCoordIndices;
    std::vector<Vec2f> texCoords;
};

}  // namespace KelpCore
