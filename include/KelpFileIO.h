// KelpFileIO: reads and writes 3D geometry files into caller-owned containers.
//
// Every function takes a zero-terminated narrow path and a pointer to a
// container that the caller owns, and returns true when the file was read or
// written. No call may run at the same time as another: several functions
// switch the process locale, and some readers keep process-wide state.
#pragma once

#include <KelpCore.h>
#include <KelpExport.h>
#include <KelpFileIOHost.h>
#include <KelpReport.h>  // why the last call failed: KelpLastReport()

namespace KelpGraphic {

// ASC point text: one point per line, its x, y and z first. Appends to `cloud`;
// false only when the file cannot be opened.
KELP_FILEIO_API bool KelpReadAsc(const char* path, KelpCore::KelpPointSet* cloud);
// Writes every position as "%f %f %f \n"; false only when the file cannot be created.
KELP_FILEIO_API bool KelpWriteAsc(const char* path, KelpCore::KelpPointSet* cloud);

// ASCII DXF: appends the POINT entities found after "ENTITIES" to `cloud`.
// False when the file cannot be opened, does not start with "0", "SECTION",
// "2", or has no "ENTITIES" word; on those two format failures the process
// locale is left at "Chinese-simplified".
KELP_FILEIO_API bool KelpReadDxf(const char* path, KelpCore::KelpPointSet* cloud);

// 3DS chunk files: appends the vertices and triangles of every object to
// `mesh`, with face indices as stored (not offset across objects). False when
// the file cannot be opened, does not start with a main chunk, is cut short or
// holds a colour or percentage of an unknown kind; what was appended before the
// failure stays.
KELP_FILEIO_API bool KelpRead3ds(const char* path, KelpCore::KelpTriMesh* mesh);

// Wavefront OBJ: positions, "vt", "vn" and faces (polygons become fans
// around their first corner). Appends to `mesh`, so pass an empty one. An
// "mtllib" whose first material names a JPG, BMP, PNG or TIF texture gives the
// mesh that image (the mesh owns its pixels) when the file also has "vt"
// lines. False only when the file cannot be opened.
KELP_FILEIO_API bool KelpReadObj(const char* path, KelpCore::KelpTriMesh* mesh);
// Writes `mesh` as OBJ with 1-based indices; a mesh with texture pixels also
// gets "<base>.jpg" and "<base>.mtl" beside the file. False only when the file
// cannot be created.
KELP_FILEIO_API bool KelpWriteObj(const char* path, KelpCore::KelpTriMesh* mesh);

// PLY ("ascii", "binary_little_endian", "binary_big_endian"): appends the
// float x, y, z of every vertex and the triangles of the "face" element (or of
// "tristrips") to `mesh`; face indices are not offset by vertices already in
// the mesh. False when the file cannot be opened or parsed, declares no float
// positions or no usable faces, a face has other than 3 corners, or the
// counts the file announces cannot be allocated; what was appended before a
// failure stays. Does not switch the locale.
KELP_FILEIO_API bool KelpReadPly(const char* path, KelpCore::KelpTriMesh* mesh);

// VRML 1.0 text ("#VRML V1.0" header): appends the points of the Coordinate3
// nodes and the triangles of the IndexedFaceSet nodes of the file's first node
// to `mesh`, untransformed and with indices as written; every USE appends its
// geometry again. Always true; another version, a missing file or a parse
// error add nothing. A scene whose expansion no 32-bit count or memory can
// hold ends the process with status -1 (see README).
KELP_FILEIO_API bool KelpReadWrl(const char* path, KelpCore::KelpTriMesh* mesh);

// STL, binary or ASCII (told apart by the file size and by bytes above 127 at
// offsets 84 to 211). Replaces the vertex and face arrays and merges corners
// whose positions are identical bit for bit; prints "OpenBinary::fn=%d",
// "OpenBinary::read end" and "RemoveRedundant::End" lines on standard output
// (or to the sink of KelpSetProgressSink).
// A binary file's arrays are sized from its header count, at least 16 bytes
// per announced triangle (see README), whatever the file size. False when the file
// cannot be opened or an ASCII facet's corner does not parse (mesh unchanged).
KELP_FILEIO_API bool KelpReadStl(const char* path, KelpCore::KelpTriMesh* mesh);
// Binary STL: no header text, recordedFaceCount as the count, then every face
// not flagged deleted with a zero normal. False only when the file cannot be created.
KELP_FILEIO_API bool KelpWriteStl(const char* path, KelpCore::KelpTriMesh* mesh);

}  // namespace KelpGraphic
