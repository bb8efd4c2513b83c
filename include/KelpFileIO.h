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

// STL, binary or ASCII (told apart by the file size and by bytes above 127 at
// offsets 84 to 211). Replaces the vertex and face arrays and merges corners
// whose positions are identical bit for bit; prints "OpenBinary::fn=%d",
// "OpenBinary::read end" and "RemoveRedundant::End" lines on standard output.
// A binary file's arrays are sized from its header count, about 64 bytes per
// announced triangle (see README), whatever the file size. False when the file
// cannot be opened or an ASCII facet's corner does not parse (mesh unchanged).
KELP_FILEIO_API bool KelpReadStl(const char* path, KelpCore::KelpTriMesh* mesh);
// Binary STL: no header text, recordedFaceCount as the count, then every face
// not flagged deleted with a zero normal. False only when the file cannot be created.
KELP_FILEIO_API bool KelpWriteStl(const char* path, KelpCore::KelpTriMesh* mesh);

}  // namespace KelpGraphic
