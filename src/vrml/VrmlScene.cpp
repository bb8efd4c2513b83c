// USE records share their target, so the scene is a graph in which one record
// can stand for a great many copies. Its size is measured once per record;
// the first visit of a record appends its own points and triangles, and
// every later visit copies the range that the first one produced (the copies
// are identical, as indices are never offset). Work is therefore
// proportional to the records plus the output, and subgraphs that add
// nothing are never entered.
#include "vrml/VrmlScene.h"

#include "platform/SystemMemory.h"
#include "vrml/VrmlKeywords.h"
#include "vrml/VrmlReader.h"

#include <KelpTriMesh.h>

#include <algorithm>
#include <limits>
#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

namespace KelpVrml {

namespace {

constexpr std::uint64_t kSaturated = std::uint64_t{1} << 62;

std::uint64_t addCapped(std::uint64_t a, std::uint64_t b) { return std::min(a + b, kSaturated); }

// Only a Coordinate3 "point" field gives points, only an IndexedFaceSet
// "coordIndex" field triangles; count / 3 of each.
std::size_t pointsOf(const VrmlNode& node, const VrmlField& field) {
    if (node.type != kCoordinate3 || field.kind != kPoint) return 0;
    return std::min(static_cast<std::size_t>(std::max(field.count, 0)), field.floats.size()) / 3;
}

std::size_t trianglesOf(const VrmlNode& node, const VrmlField& field) {
    if (node.type != kIndexedFaceSet || field.kind != kCoordIndex) return 0;
    return std::min(static_cast<std::size_t>(std::max(field.count, 0)), field.ints.size()) / 3;
}

struct NodeExpansion {
    VrmlSceneSize size;
    bool placed = false;          // appended once; later visits copy
    std::size_t firstVertex = 0;  // where the first visit's output starts
    std::size_t firstFace = 0;
};

using ExpansionTable = std::unordered_map<const VrmlNode*, NodeExpansion>;

// Sizes of every record reachable from `top`, children before parents.
ExpansionTable measure(const VrmlNode* top) {
    ExpansionTable table;
    std::vector<std::pair<const VrmlNode*, bool>> pending{{top, false}};
    while (!pending.empty()) {
        const auto [node, childrenMeasured] = pending.back();
        pending.pop_back();
        if (!childrenMeasured) {
            if (table.count(node)) continue;
            pending.emplace_back(node, true);
            for (const VrmlNode* child : node->children)
                if (!table.count(child)) pending.emplace_back(child, false);
            continue;
        }
        VrmlSceneSize size;
        for (const VrmlField& field : node->fields) {
            size.points = addCapped(size.points, pointsOf(*node, field));
            size.triangles = addCapped(size.triangles, trianglesOf(*node, field));
        }
        for (const VrmlNode* child : node->children) {
            const VrmlSceneSize& part = table.at(child).size;
            size.points = addCapped(size.points, part.points);
            size.triangles = addCapped(size.triangles, part.triangles);
        }
        table[node].size = size;
    }
    return table;
}

// Refuses totals the mesh cannot hold, then sizes the main arrays once. A
// position and its flag take 16 bytes, as do a face and its flag: a lower
// bound, so a scene that could fit is always tried.
void reserveFor(KelpCore::KelpTriMesh& mesh, const VrmlSceneSize& total) {
    constexpr std::uint64_t kMaxCount = std::numeric_limits<std::uint32_t>::max();
    const bool countsFit =
        total.points <= kMaxCount - mesh.vertexCount && total.triangles <= kMaxCount - mesh.faceCount;
    if (!countsFit || (total.points + total.triangles) > KelpPlatform::physicalMemoryBytes() / 16)
        throw std::bad_alloc();
    const auto grow = [](auto& array, std::uint64_t more) {
        if (more) array.reserve(array.size() + static_cast<std::size_t>(more));
    };
    grow(mesh.vertices, total.points);
    grow(mesh.vertexFlags, total.points);
    grow(mesh.faces, total.triangles);
    grow(mesh.faceFlags, total.triangles);
}

// Later visits copy from the mesh, so a field's values are not needed once
// appended: freed there, they do not sit beside the whole mesh.
void appendOwn(VrmlNode& node, KelpCore::KelpTriMesh& mesh) {
    for (VrmlField& field : node.fields) {
        const float* xyz = field.floats.data();
        for (std::size_t i = 0, n = pointsOf(node, field); i < n; ++i, xyz += 3)
            mesh.addVertex({xyz[0], xyz[1], xyz[2]});
        const std::int32_t* abc = field.ints.data();
        for (std::size_t i = 0, n = trianglesOf(node, field); i < n; ++i, abc += 3)
            mesh.addFace(static_cast<std::uint32_t>(abc[0]), static_cast<std::uint32_t>(abc[1]),
                         static_cast<std::uint32_t>(abc[2]));
        if (pointsOf(node, field) != 0) std::vector<float>().swap(field.floats);
        if (trianglesOf(node, field) != 0) std::vector<std::int32_t>().swap(field.ints);
    }
}

// Appends again what the record's first visit appended.
void appendCopy(const NodeExpansion& first, KelpCore::KelpTriMesh& mesh) {
    for (std::size_t i = 0; i < first.size.points; ++i) {
        const KelpCore::Vec3f position = mesh.vertices[first.firstVertex + i];
        mesh.addVertex(position);
    }
    for (std::size_t i = 0; i < first.size.triangles; ++i) {
        const KelpCore::Vec3u face = mesh.faces[first.firstFace + i];
        mesh.addFace(face[0], face[1], face[2]);
    }
}

}  // namespace

VrmlSceneSize expandedSize(const VrmlNode* top) { return top ? measure(top).at(top).size : VrmlSceneSize{}; }

void appendSceneToMesh(VrmlNode* top, KelpCore::KelpTriMesh& mesh) {
    if (!top) return;
    ExpansionTable table = measure(top);
    reserveFor(mesh, table.at(top).size);

    std::vector<VrmlNode*> pending{top};
    while (!pending.empty()) {
        VrmlNode* node = pending.back();
        pending.pop_back();
        NodeExpansion& expansion = table.at(node);
        if (expansion.size.points == 0 && expansion.size.triangles == 0) continue;
        if (expansion.placed) {
            appendCopy(expansion, mesh);
            continue;
        }
        expansion.placed = true;
        expansion.firstVertex = mesh.vertices.size();
        expansion.firstFace = mesh.faces.size();
        appendOwn(*node, mesh);
        for (auto child = node->children.rbegin(); child != node->children.rend(); ++child) pending.push_back(*child);
    }
}

}  // namespace KelpVrml
