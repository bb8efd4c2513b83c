// The image library: loads and saves the texture images of OBJ meshes.
#pragma once

#include <KelpExport.h>
#include <KelpImageData.h>

namespace KelpImageLoad {

// Decodes the file at `path` by its content into 8-bit interleaved pixels
// (rows top to bottom, `data` allocated with new[]). Returns non-zero on
// success; on any failure `data` is left null.
KELP_IMAGELOAD_API int KelpReadImage(const char* path, KelpCore::KelpImageData<unsigned char>& image);

// Encodes `image` into the file at `path`, choosing the codec by the file
// name's extension. Returns non-zero on success.
KELP_IMAGELOAD_API int KelpWriteImage(const char* path, KelpCore::KelpImageData<unsigned char>& image);

}  // namespace KelpImageLoad
