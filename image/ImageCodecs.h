// The codecs behind KelpReadImage / KelpWriteImage. Each reader fills `image`
// only on success (data allocated with new[], 8-bit interleaved, rows top to
// bottom, 1, 3 or 4 channels) and leaves it untouched on failure. Each writer
// takes an image with non-null data and 1, 3 or 4 channels.
#pragma once

#include <KelpImageData.h>

#include <cstddef>
#include <cstdint>

namespace KelpImageCodec {

using Image = KelpCore::KelpImageData<unsigned char>;

// The largest pixel buffer a reader allocates: the OBJ writer counts bytes in
// a signed 32-bit number, so nothing larger could be saved again anyway.
constexpr std::uint64_t kMaxPixelBytes = 0x7FFFFFFFu;

// The byte length of width x height x channels, or 0 when it is empty or
// beyond kMaxPixelBytes.
inline std::size_t pixelBytes(std::uint64_t width, std::uint64_t height, std::uint64_t channels) {
    if (width == 0 || height == 0 || channels == 0) return 0;
    if (width > kMaxPixelBytes || height > kMaxPixelBytes || channels > 4) return 0;
    const std::uint64_t bytes = width * height * channels;
    return bytes > kMaxPixelBytes ? 0 : static_cast<std::size_t>(bytes);
}

bool readJpeg(const char* path, Image& image);
bool writeJpeg(const char* path, const Image& image, int quality);

bool readPng(const char* path, Image& image);
bool writePng(const char* path, const Image& image);

bool readTiff(const char* path, Image& image);
bool writeTiff(const char* path, const Image& image);

bool readBmp(const char* path, Image& image);
bool writeBmp(const char* path, const Image& image);

}  // namespace KelpImageCodec
