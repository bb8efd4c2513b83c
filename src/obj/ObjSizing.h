// Sizing the face arrays ahead while an OBJ file is read. Grown by half at a
// time, the face and face-flag arrays (and the face texture triples) would
// each be copied whole at the same moment, old and new blocks resident
// together; near the end of a large file that transient alone outweighs the
// slack it saves. Once the face lines have shown their density, the arrays
// are reserved for what the rest of a regular file can hold at that density,
// with a margin. Untouched reserve costs address space, not memory, and the
// arrays' contents do not depend on it.
#pragma once

#include <KelpTriMesh.h>

#include <cstdint>
#include <cstdio>
#include <vector>

namespace KelpObj {

class ObjFaceSizing {
public:
    // `file` is the OBJ file; a pipe or device gives no size and nothing is
    // reserved ahead.
    explicit ObjFaceSizing(std::FILE* file);

    // At a face statement, with `listBytes` the capacity of the vertex,
    // texture-coordinate and normal lists together: hands the pages of the
    // blocks they grew out of back to the system.
    void afterVertexGrowth(std::size_t listBytes);

    // Before the faces of one statement are appended: `adding` triangles,
    // `offset` bytes of the file consumed so far.
    void beforeFaces(std::size_t adding, std::uint64_t offset, KelpCore::KelpTriMesh& mesh,
                     std::vector<KelpCore::Vec3u>& faceTexCoords) {
        if (started_ && mesh.faces.size() + adding <= mesh.faces.capacity()) return;
        plan(adding, offset, mesh, faceTexCoords);
    }

private:
    void plan(std::size_t adding, std::uint64_t offset, KelpCore::KelpTriMesh& mesh,
              std::vector<KelpCore::Vec3u>& faceTexCoords);

    std::uint64_t fileSize_ = 0;
    bool started_ = false;
    std::uint64_t firstOffset_ = 0;
    std::size_t firstCount_ = 0;
    std::size_t trimmedAt_ = 0;
};

}  // namespace KelpObj
