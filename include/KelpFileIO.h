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

// VRML 1.0 text ("#VRML V1.0" header): appends the points of the Coordinate3
// nodes and the triangles of the IndexedFaceSet nodes of the file's first node
// to `mesh`, untransformed and with indices as written. Always true; another
// version, a missing file or a parse error add nothing.
KELP_FILEIO_API bool KelpReadWrl(const char* path, KelpCore::KelpTriMesh* mesh);

}  // namespace KelpGraphic
