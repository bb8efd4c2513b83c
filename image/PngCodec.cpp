// PNG through libpng. libpng reports fatal errors through our error callback,
// which jumps back to the call with png_longjmp; everything allocated so far
// is released there. Warnings are dropped.
#include "ImageCodecs.h"

#include <csetjmp>
#include <cstdio>
#include <memory>
#include <new>

#include <png.h>

namespace KelpImageCodec {

namespace {
[[noreturn]] void onError(png_structp png, png_const_charp) { png_longjmp(png, 1); }
void onWarning(png_structp, png_const_charp) {}

// State that must survive a longjmp lives here, not in locals.
struct PngState {
    std::FILE* file = nullptr;
    unsigned char* pixels = nullptr;
    png_bytep* rows = nullptr;
    void release() {
        delete[] pixels;
        delete[] rows;
        pixels = nullptr;
        rows = nullptr;
        if (file) std::fclose(file);
        file = nullptr;
    }
};

// Palette, low bit depths and 16-bit samples become 8-bit gray, RGB or RGBA;
// transparency (a tRNS chunk or a gray+alpha image) becomes RGBA.
bool decode(png_structp png, png_infop info, PngState& state, Image& image) {
    png_read_info(png, info);
    const png_uint_32 width = png_get_image_width(png, info);
    const png_uint_32 height = png_get_image_height(png, info);
    const int colorType = png_get_color_type(png, info);
    const int bitDepth = png_get_bit_depth(png, info);
    const bool transparency = png_get_valid(png, info, PNG_INFO_tRNS) != 0;
    if (colorType == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(png);
    if (colorType == PNG_COLOR_TYPE_GRAY && bitDepth < 8) png_set_expand_gray_1_2_4_to_8(png);
    if (transparency) png_set_tRNS_to_alpha(png);
    if (bitDepth == 16) png_set_scale_16(png);
    if ((colorType & PNG_COLOR_MASK_COLOR) == 0 && (transparency || (colorType & PNG_COLOR_MASK_ALPHA)))
        png_set_gray_to_rgb(png);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);

    const unsigned channels = png_get_channels(png, info);
    if (channels != 1 && channels != 3 && channels != 4) return false;
    const std::size_t bytes = pixelBytes(width, height, channels);
    const std::size_t stride = static_cast<std::size_t>(width) * channels;
    if (bytes == 0 || png_get_rowbytes(png, info) != stride) return false;
    state.pixels = new (std::nothrow) unsigned char[bytes];
    state.rows = new (std::nothrow) png_bytep[height];
    if (!state.pixels || !state.rows) return false;
    for (png_uint_32 y = 0; y < height; ++y) state.rows[y] = state.pixels + y * stride;
    png_read_image(png, state.rows);
    png_read_end(png, nullptr);
    image.data = state.pixels;
    state.pixels = nullptr;
    image.width = width;
    image.height = height;
    image.channels = channels;
    return true;
}
}  // namespace

bool readPng(const char* path, Image& image) {
    // On the heap, so that what decode() stores survives the jump back.
    const std::unique_ptr<PngState> owned(new PngState);
    PngState& state = *owned;
    state.file = std::fopen(path, "rb");
    if (!state.file) return false;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, onError, onWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info) {
        png_destroy_read_struct(&png, nullptr, nullptr);
        state.release();
        return false;
    }
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_read_struct(&png, &info, nullptr);
        state.release();
        return false;
    }
    png_init_io(png, state.file);
    const bool ok = decode(png, info, state, image);
    png_destroy_read_struct(&png, &info, nullptr);
    state.release();
    return ok;
}

bool writePng(const char* path, const Image& image) {
    std::FILE* file = std::fopen(path, "wb");
    if (!file) return false;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, onError, onWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info) {
        png_destroy_write_struct(&png, nullptr);
        std::fclose(file);
        return false;
    }
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        std::fclose(file);
        return false;
    }
    png_init_io(png, file);
    const int colorType = image.channels == 1   ? PNG_COLOR_TYPE_GRAY
                          : image.channels == 4 ? PNG_COLOR_TYPE_RGB_ALPHA
                                                : PNG_COLOR_TYPE_RGB;
    png_set_IHDR(png, info, image.width, image.height, 8, colorType, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    const std::size_t stride = static_cast<std::size_t>(image.width) * image.channels;
    for (std::uint32_t y = 0; y < image.height; ++y) png_write_row(png, image.data + y * stride);
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return std::fclose(file) == 0;
}

}  // namespace KelpImageCodec
