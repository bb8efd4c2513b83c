// BMP through stb_image (reading) and stb_image_write (writing).
#include "ImageCodecs.h"

#include <algorithm>
#include <new>

#include <stb_image.h>
#include <stb_image_write.h>

namespace KelpImageCodec {

// 1, 3 and 4 channels are kept; stb's gray+alpha becomes RGBA.
bool readBmp(const char* path, Image& image) {
    int width = 0, height = 0, channels = 0;
    unsigned char* decoded = stbi_load(path, &width, &height, &channels, 0);
    if (!decoded) return false;
    const unsigned kept = channels == 2 ? 4u : static_cast<unsigned>(channels);
    const std::size_t bytes = (width > 0 && height > 0 && (kept == 1 || kept == 3 || kept == 4))
                                  ? pixelBytes(static_cast<unsigned>(width), static_cast<unsigned>(height), kept)
                                  : 0;
    unsigned char* pixels = bytes ? new (std::nothrow) unsigned char[bytes] : nullptr;
    if (!pixels) {
        stbi_image_free(decoded);
        return false;
    }
    if (channels == 2) {
        const std::size_t count = bytes / 4;
        for (std::size_t i = 0; i < count; ++i) {
            pixels[4 * i] = pixels[4 * i + 1] = pixels[4 * i + 2] = decoded[2 * i];
            pixels[4 * i + 3] = decoded[2 * i + 1];
        }
    } else {
        std::copy_n(decoded, bytes, pixels);
    }
    stbi_image_free(decoded);
    image.data = pixels;
    image.width = static_cast<unsigned>(width);
    image.height = static_cast<unsigned>(height);
    image.channels = kept;
    return true;
}

bool writeBmp(const char* path, const Image& image) {
    if (image.width > 0x7FFFFFFFu || image.height > 0x7FFFFFFFu) return false;
    return stbi_write_bmp(path, static_cast<int>(image.width), static_cast<int>(image.height),
                          static_cast<int>(image.channels), image.data) != 0;
}

}  // namespace KelpImageCodec
