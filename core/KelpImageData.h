// The image type shared by the mesh (its texture) and the image library.
#pragma once

#include <cstdint>

namespace KelpCore {

// A plain record: whoever fills `data` allocates it with new[], and whoever
// owns the record at the end releases it with delete[]. The byte length of the
// pixels is width * height * channels; rows run top to bottom and a pixel's
// channels are interleaved.
template <typename T>
struct KelpImageData {
    T* data = nullptr;
    std::uint32_t width = 0, height = 0, channels = 0;
    std::uint8_t flagByte = 0;
};

}  // namespace KelpCore
