#include "support/PeerReaders.h"

#ifdef KELP_BENCH_HAVE_PEERS
#include <fast_obj.h>
#include <miniply.h>
#include <rapidobj/rapidobj.hpp>

#include <vector>
#endif

namespace KelpBench {

#ifdef KELP_BENCH_HAVE_PEERS
bool peersAvailable() { return true; }

PeerResult readFastObj(const std::string& path) {
    PeerResult result;
    result.available = true;
    fastObjMesh* mesh = fast_obj_read(path.c_str());
    if (!mesh) return result;
    result.ok = true;
    result.vertices = mesh->position_count;
    result.triangles = mesh->face_count;
    result.arrayBytes = (std::uint64_t(mesh->position_count) * 3 + mesh->texcoord_count * 2ull + mesh->normal_count * 3ull) *
                            sizeof(float) +
                        std::uint64_t(mesh->face_count) * (2 * sizeof(unsigned) + 1) +
                        std::uint64_t(mesh->index_count) * sizeof(fastObjIndex);
    fast_obj_destroy(mesh);
    return result;
}

PeerResult readRapidObj(const std::string& path) {
    PeerResult result;
    result.available = true;
    const rapidobj::Result parsed = rapidobj::ParseFile(path);
    if (parsed.error) return result;
    result.ok = true;
    const rapidobj::Attributes& a = parsed.attributes;
    result.vertices = a.positions.size() / 3;
    result.arrayBytes = (a.positions.size() + a.texcoords.size() + a.normals.size() + a.colors.size()) * sizeof(float);
    for (const rapidobj::Shape& shape : parsed.shapes) {
        result.triangles += shape.mesh.num_face_vertices.size();
        result.arrayBytes += shape.mesh.indices.size() * sizeof(rapidobj::Index) + shape.mesh.num_face_vertices.size() +
                             shape.mesh.material_ids.size() * 4 + shape.mesh.smoothing_group_ids.size() * 4;
    }
    return result;
}

PeerResult readMiniply(const std::string& path) {
    PeerResult result;
    result.available = true;
    miniply::PLYReader reader(path.c_str());
    if (!reader.valid()) return result;
    std::vector<float> positions;
    std::vector<int> indices;
    while (reader.has_element()) {
        std::uint32_t props[3];
        if (reader.element_is(miniply::kPLYVertexElement) && reader.load_element() && reader.find_pos(props)) {
            positions.resize(std::size_t(reader.num_rows()) * 3);
            reader.extract_properties(props, 3, miniply::PLYPropertyType::Float, positions.data());
        } else if (reader.element_is(miniply::kPLYFaceElement) && reader.load_element() &&
                   reader.find_indices(props)) {
            if (reader.requires_triangulation(props[0])) {
                indices.resize(std::size_t(reader.num_triangles(props[0])) * 3);
                reader.extract_triangles(props[0], positions.data(), static_cast<std::uint32_t>(positions.size() / 3),
                                         miniply::PLYPropertyType::Int, indices.data());
            } else {
                indices.resize(std::size_t(reader.num_rows()) * 3);
                reader.extract_list_property(props[0], miniply::PLYPropertyType::Int, indices.data());
            }
        }
        reader.next_element();
    }
    result.ok = !positions.empty();
    result.vertices = positions.size() / 3;
    result.triangles = indices.size() / 3;
    result.arrayBytes = positions.size() * sizeof(float) + indices.size() * sizeof(int);
    return result;
}
#else
bool peersAvailable() { return false; }
PeerResult readFastObj(const std::string&) { return {}; }
PeerResult readRapidObj(const std::string&) { return {}; }
PeerResult readMiniply(const std::string&) { return {}; }
#endif

}  // namespace KelpBench
