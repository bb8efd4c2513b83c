// Sizing the face arrays (and the vertex lists) ahead while an OBJ file is read. Grown by half at a
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
        if (faces_.started && mesh.faces.size() + adding <= mesh.faces.capacity()) return;
        plan(adding, offset, mesh, faceTexCoords);
    }

    // The lists that "v", "vt" and "vn" statements append to.
    enum class List { Vertices, TexCoords, Normals };

    // Before a statement appends to one of those lists when it is full
    // (`count` elements, `offset` bytes of the file consumed): the capacity to
    // reserve instead of the usual growth by half, or 0 for that growth.
    // Grown by half, a list is copied and its new pages faulted in again at
    // every step; instead its statements' density so far, carried over the
    // rest of the file with a margin, reserves it once. Where the rest of the
    // file holds other statements (the faces, usually) most of that reserve
    // is never touched: it stays address space in the returned mesh, not
    // memory, and costs no page.
    std::size_t listCapacity(List list, std::size_t count, std::uint64_t offset);

private:
    struct ListStart {
        bool started = false;
        std::uint64_t offset = 0;
        std::size_t count = 0;
    };

    void plan(std::size_t adding, std::uint64_t offset, KelpCore::KelpTriMesh& mesh,
              std::vector<KelpCore::Vec3u>& faceTexCoords);

    std::uint64_t fileSize_ = 0;
    ListStart faces_;
    std::size_t trimmedAt_ = 0;
    ListStart lists_[3];
};

}  // namespace KelpObj
