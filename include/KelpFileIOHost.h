// What a host can ask of KelpFileIO beside the ten file functions: where the
// STL reader's progress lines go, and what a binary STL file announces before
// it is read. Included by KelpFileIO.h.
#pragma once

#include <KelpExport.h>

#include <cstdint>

namespace KelpGraphic {

// Receives one progress line ("OpenBinary::fn=512", "OpenBinary::read end",
// "RemoveRedundant::End"), without its line feed, on the thread of the call
// that prints it, together with the context given when it was installed.
using KelpProgressSink = void (*)(const char* line, void* context);

// Sends the progress lines to `sink` instead of standard output; a null sink
// puts them back on standard output ("%s\n" with printf, as they have always
// been printed). Process-wide, like the file functions' other state.
KELP_FILEIO_API void KelpSetProgressSink(KelpProgressSink sink, void* context);

// True when KelpReadStl would read `path` as binary STL; `*count` is then its
// header's triangle count, the number of faces the read will size and return
// whatever the file holds. False when the file cannot be opened or would be
// read as ASCII (whose memory follows the file's size). Reads 212 bytes at
// most and leaves the locale alone.
KELP_FILEIO_API bool KelpStlAnnouncedFaces(const char* path, std::uint32_t* count);

}  // namespace KelpGraphic
