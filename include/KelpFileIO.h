// KelpFileIO: reads and writes 3D geometry files into caller-owned containers.
//
// Every function takes a zero-terminated narrow path and a pointer to a
// container that the caller owns, and returns true when the file was read or
// written. No call may run at the same time as another: several functions
// switch the process locale, and some readers keep process-wide state.
#pragma once

#include <KelpCore.h>
#include <KelpExport.h>

namespace KelpGraphic {

// ASC point text: one point per line, its x, y and z first. Appends to `cloud`;
// false only when the file cannot be opened.
KELP_FILEIO_API bool KelpReadAsc(const char* path, KelpCore::KelpPointSet* cloud);
// Writes every position as "%f %f %f \n"; false only when the file cannot be created.
KELP_FILEIO_API bool KelpWriteAsc(const char* path, KelpCore::KelpPointSet* cloud);

// PLY ("ascii", "binary_little_endian", "binary_big_endian"): appends the
// float x, y, z of every vertex and the triangles of the "face" element (or of
// "tristrips") to `mesh`; face indices are not offset by vertices already in
// the mesh. False when the file cannot be opened or parsed, declares no float
// positions or no usable faces, or a face has other than 3 corners; what was
// appended before a failure stays. Does not switch the locale.
KELP_FILEIO_API bool KelpReadPly(const char* path, KelpCore::KelpTriMesh* mesh);

}  // namespace KelpGraphic
