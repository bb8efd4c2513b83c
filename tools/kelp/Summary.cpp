#include "Summary.h"

namespace KelpTool {

namespace {
void addPointSetFacts(const KelpCore::KelpPointSet& cloud, Summary& summary) {
    summary.vertices = cloud.vertexCount;
    for (const auto& p : cloud.vertices) {
        if (!summary.hasBounds) {
            summary.min = summary.max = p;
            summary.hasBounds = true;
            continue;
        }
        for (int a = 0; a < 3; ++a) {
            if (p[a] < summary.min[a]) summary.min[a] = p[a];
            if (p[a] > summary.max[a]) summary.max[a] = p[a];
        }
    }
    if (!cloud.vertexNormals.empty()) summary.arrays.push_back("vertexNormals");
    if (!cloud.vertexAuxVectors.empty()) summary.arrays.push_back("vertexAuxVectors");
    if (!cloud.vertexAuxValues.empty()) summary.arrays.push_back("vertexAuxValues");
}
}  // namespace

Summary summarise(const KelpCore::KelpPointSet& cloud) {
    Summary summary;
    addPointSetFacts(cloud, summary);
    return summary;
}

Summary summarise(const KelpCore::KelpTriMesh& mesh) {
    Summary summary;
    summary.isMesh = true;
    addPointSetFacts(mesh, summary);
    summary.faces = mesh.faceCount;
    if (!mesh.faceNormals.empty()) summary.arrays.push_back("faceNormals");
    if (!mesh.faceAuxVectors.empty()) summary.arrays.push_back("faceAuxVectors");
    if (!mesh.faceAuxValues.empty()) summary.arrays.push_back("faceAuxValues");
    if (!mesh.faceTexCoordIndices.empty()) summary.arrays.push_back("faceTexCoordIndices");
    summary.texCoords = static_cast<std::uint32_t>(mesh.texCoords.size());
    if (mesh.textureImage.data) {
        summary.hasTextureImage = true;
        summary.textureWidth = mesh.textureImage.width;
        summary.textureHeight = mesh.textureImage.height;
        summary.textureChannels = mesh.textureImage.channels;
    }
    return summary;
}

}  // namespace KelpTool
