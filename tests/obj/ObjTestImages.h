// Image files for the OBJ and image library tests, written through the
// library's own encoders.
#pragma once

#include <KelpImageLoad.h>

#include <string>
#include <vector>

namespace KelpObjTest {

// Saves the pixels in the format that the path's extension names; false when
// the library refuses.
inline bool saveImage(const std::string& path, std::vector<unsigned char> pixels, unsigned width, unsigned height,
                      unsigned channels) {
    KelpCore::KelpImageData<unsigned char> image{pixels.data(), width, height, channels, 0};
    return KelpImageLoad::KelpWriteImage(path.c_str(), image) != 0;
}

}  // namespace KelpObjTest
