// JPEG through libjpeg(-turbo). libjpeg reports fatal errors by calling
// error_exit, which must not return; ours jumps back to the call, where
// everything allocated so far is released. Warnings and messages are dropped.
#include "ImageCodecs.h"

#include <csetjmp>
#include <cstdio>
#include <memory>
#include <new>

#include <jpeglib.h>

namespace KelpImageCodec {

namespace {
struct ErrorManager {
    jpeg_error_mgr base;
    std::jmp_buf jump;
};

[[noreturn]] void onError(j_common_ptr info) {
    std::longjmp(reinterpret_cast<ErrorManager*>(info->err)->jump, 1);
}
void onMessage(j_common_ptr, int) {}
void onOutput(j_common_ptr) {}

void installSilentErrors(ErrorManager& errors) {
    jpeg_std_error(&errors.base);
    errors.base.error_exit = onError;
    errors.base.emit_message = onMessage;
    errors.base.output_message = onOutput;
}

// State that must survive a longjmp lives here, not in locals.
struct DecodeState {
    std::FILE* file = nullptr;
    unsigned char* pixels = nullptr;
    unsigned char* cmykRow = nullptr;
    void release() {
        delete[] pixels;
        delete[] cmykRow;
        pixels = cmykRow = nullptr;
        if (file) std::fclose(file);
        file = nullptr;
    }
};

bool decode(jpeg_decompress_struct& info, DecodeState& state, Image& image) {
    if (jpeg_read_header(&info, TRUE) != JPEG_HEADER_OK) return false;
    unsigned channels = 3;
    bool cmyk = false;
    switch (info.jpeg_color_space) {
        case JCS_GRAYSCALE:
            info.out_color_space = JCS_GRAYSCALE;
            channels = 1;
            break;
        case JCS_CMYK:
        case JCS_YCCK:
            // Converted to RGB below; Adobe writes CMYK inverted.
            info.out_color_space = JCS_CMYK;
            cmyk = true;
            break;
        default:
            info.out_color_space = JCS_RGB;
            break;
    }
    jpeg_start_decompress(&info);
    const std::size_t bytes = pixelBytes(info.output_width, info.output_height, channels);
    if (bytes == 0 || static_cast<unsigned>(info.output_components) != (cmyk ? 4u : channels)) return false;
    state.pixels = new (std::nothrow) unsigned char[bytes];
    if (!state.pixels) return false;
    const std::size_t stride = static_cast<std::size_t>(info.output_width) * channels;
    if (cmyk) {
        state.cmykRow = new (std::nothrow) unsigned char[static_cast<std::size_t>(info.output_width) * 4];
        if (!state.cmykRow) return false;
    }
    while (info.output_scanline < info.output_height) {
        unsigned char* target = state.pixels + info.output_scanline * stride;
        JSAMPROW row = cmyk ? state.cmykRow : target;
        if (jpeg_read_scanlines(&info, &row, 1) != 1) return false;
        if (cmyk) {
            for (JDIMENSION x = 0; x < info.output_width; ++x) {
                const unsigned c = state.cmykRow[4 * x], m = state.cmykRow[4 * x + 1], y = state.cmykRow[4 * x + 2],
                               k = state.cmykRow[4 * x + 3];
                target[3 * x] = static_cast<unsigned char>(c * k / 255);
                target[3 * x + 1] = static_cast<unsigned char>(m * k / 255);
                target[3 * x + 2] = static_cast<unsigned char>(y * k / 255);
            }
        }
    }
    jpeg_finish_decompress(&info);
    image.data = state.pixels;
    state.pixels = nullptr;
    image.width = info.output_width;
    image.height = info.output_height;
    image.channels = channels;
    return true;
}
}  // namespace

bool readJpeg(const char* path, Image& image) {
    // On the heap, so that what decode() stores survives the jump back.
    const std::unique_ptr<DecodeState> owned(new DecodeState);
    DecodeState& state = *owned;
    state.file = std::fopen(path, "rb");
    if (!state.file) return false;
    jpeg_decompress_struct info;
    ErrorManager errors;
    info.err = &errors.base;
    installSilentErrors(errors);
    if (setjmp(errors.jump)) {
        jpeg_destroy_decompress(&info);
        state.release();
        return false;
    }
    jpeg_create_decompress(&info);
    jpeg_stdio_src(&info, state.file);
    const bool ok = decode(info, state, image);
    jpeg_destroy_decompress(&info);
    state.release();
    return ok;
}

bool writeJpeg(const char* path, const Image& image, int quality) {
    std::FILE* volatile file = std::fopen(path, "wb");
    if (!file) return false;
    jpeg_compress_struct info;
    ErrorManager errors;
    info.err = &errors.base;
    installSilentErrors(errors);
    if (setjmp(errors.jump)) {
        jpeg_destroy_compress(&info);
        std::fclose(file);
        return false;
    }
    jpeg_create_compress(&info);
    jpeg_stdio_dest(&info, file);
    info.image_width = image.width;
    info.image_height = image.height;
    info.input_components = static_cast<int>(image.channels);
    // An alpha channel has no place in JPEG: the fourth byte is skipped.
    info.in_color_space = image.channels == 1 ? JCS_GRAYSCALE : image.channels == 4 ? JCS_EXT_RGBX : JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, quality, TRUE);
    jpeg_start_compress(&info, TRUE);
    const std::size_t stride = static_cast<std::size_t>(image.width) * image.channels;
    while (info.next_scanline < info.image_height) {
        JSAMPROW row = image.data + info.next_scanline * stride;
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    return std::fclose(file) == 0;
}

}  // namespace KelpImageCodec
