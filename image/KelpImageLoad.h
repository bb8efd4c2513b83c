// The image library: loads and saves the texture images of OBJ meshes.
#pragma once

#include <KelpExport.h>
#include <KelpImageData.h>

namespace KelpImageLoad {

// Decodes the file at `path` by its content (JPEG, PNG, TIFF or BMP) into
// 8-bit interleaved pixels: `width` pixels per row, `height` rows top to
// bottom, `channels` 1 (gray), 3 (RGB) or 4 (RGBA; gray+alpha is widened to
// RGBA, CMYK JPEG becomes RGB, 16-bit samples are scaled to 8 bits), `data`
// allocated with new[]. Pixels that `image` already holds are released
// (delete[]) first, so a second load replaces the first. Images of more than
// 2^31 - 1 bytes are refused. Returns non-zero on success; on any failure
// `data` is left null and the extents 0.
KELP_IMAGELOAD_API int KelpReadImage(const char* path, KelpCore::KelpImageData<unsigned char>& image);

// Encodes `image` (1, 3 or 4 channels) into the file at `path`, choosing the
// codec by the file name's extension, case-insensitively: ".jpg"/".jpeg"
// (quality 95; a fourth channel is dropped), ".png", ".bmp", ".tif"/".tiff".
// Returns non-zero on success.
KELP_IMAGELOAD_API int KelpWriteImage(const char* path, KelpCore::KelpImageData<unsigned char>& image);

}  // namespace KelpImageLoad
