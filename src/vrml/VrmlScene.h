// The walk that turns a parsed VRML scene into mesh points and triangles.
#pragma once

#include <cstdint>

namespace KelpCore {
class KelpTriMesh;
}

namespace KelpVrml {

struct VrmlNode;

// What converting a node appends, every USE expanded. The sums stop growing
// at 2^62, far beyond anything a mesh can hold.
struct VrmlSceneSize {
    std::uint64_t points = 0;
    std::uint64_t triangles = 0;
};

// One pass over the node graph (each record once, however often it is used).
VrmlSceneSize expandedSize(const VrmlNode* top);

// Appends the points of Coordinate3 records and the triangles of
// IndexedFaceSet records under `top`, depth first, pre-order; a record that
// is reached again (through USE) appends its points and triangles again.
//
// The totals are known before anything is appended, so the arrays grow once.
// The values of the fields appended are freed on the way.
//
// When they cannot be held (more than 2^32 - 1 vertices or faces in the mesh,
// or more bytes than the machine has memory) this throws std::bad_alloc
// before touching the mesh: for the reader that is memory running out.
void appendSceneToMesh(VrmlNode* top, KelpCore::KelpTriMesh& mesh);

}  // namespace KelpVrml
