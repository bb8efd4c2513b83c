// TIFF through libtiff. Errors and warnings go to handlers of our own that
// swallow them, per file, so the process-wide handlers stay as the host set
// them and nothing reaches stderr.
#include "ImageCodecs.h"

#include <cstdarg>
#include <memory>
#include <new>
#include <vector>

#include <tiffio.h>

namespace KelpImageCodec {

namespace {
int silent(TIFF*, void*, const char*, const char*, va_list) { return 1; }

struct OptionsDeleter {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};
struct TiffCloser {
    void operator()(TIFF* tif) const { TIFFClose(tif); }
};
using TiffHandle = std::unique_ptr<TIFF, TiffCloser>;

TiffHandle openQuietly(const char* path, const char* mode) {
    std::unique_ptr<TIFFOpenOptions, OptionsDeleter> options(TIFFOpenOptionsAlloc());
    if (!options) return nullptr;
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), silent, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), silent, nullptr);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), static_cast<tmsize_t>(kMaxPixelBytes));
    return TiffHandle(TIFFOpenExt(path, mode, options.get()));
}
}  // namespace

namespace {
// 8-bit gray, RGB and RGBA strips in one plane are read as stored, so that
// what this library writes comes back byte for byte.
bool readPlainScanlines(TIFF* tif, std::uint32_t width, std::uint32_t height, unsigned channels, Image& image) {
    const std::size_t bytes = pixelBytes(width, height, channels);
    const std::size_t stride = static_cast<std::size_t>(width) * channels;
    if (bytes == 0 || static_cast<std::size_t>(TIFFScanlineSize(tif)) != stride) return false;
    std::unique_ptr<unsigned char[]> pixels(new (std::nothrow) unsigned char[bytes]);
    if (!pixels) return false;
    for (std::uint32_t y = 0; y < height; ++y)
        if (TIFFReadScanline(tif, pixels.get() + y * stride, y, 0) < 0) return false;
    image.data = pixels.release();
    image.width = width;
    image.height = height;
    image.channels = channels;
    return true;
}
}  // namespace

// Plain 8-bit images are read as stored. Everything else is decoded to RGBA
// by libtiff (which premultiplies an unassociated alpha) and then narrowed:
// gray images without alpha keep 1 channel, colour images without alpha 3,
// anything with an extra (alpha) sample 4.
bool readTiff(const char* path, Image& image) {
    TiffHandle tif = openQuietly(path, "r");
    if (!tif) return false;
    std::uint32_t width = 0, height = 0;
    std::uint16_t photometric = PHOTOMETRIC_RGB, extraCount = 0;
    std::uint16_t* extraTypes = nullptr;
    if (!TIFFGetField(tif.get(), TIFFTAG_IMAGEWIDTH, &width) || !TIFFGetField(tif.get(), TIFFTAG_IMAGELENGTH, &height))
        return false;
    TIFFGetFieldDefaulted(tif.get(), TIFFTAG_PHOTOMETRIC, &photometric);
    TIFFGetFieldDefaulted(tif.get(), TIFFTAG_EXTRASAMPLES, &extraCount, &extraTypes);
    const bool gray = photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE;
    const unsigned channels = extraCount > 0 ? 4 : gray ? 1 : 3;

    std::uint16_t bits = 1, samples = 1, planar = PLANARCONFIG_CONTIG;
    TIFFGetFieldDefaulted(tif.get(), TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tif.get(), TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tif.get(), TIFFTAG_PLANARCONFIG, &planar);
    const bool plain = bits == 8 && planar == PLANARCONFIG_CONTIG && !TIFFIsTiled(tif.get()) &&
                       ((photometric == PHOTOMETRIC_MINISBLACK && samples == 1 && extraCount == 0) ||
                        (photometric == PHOTOMETRIC_RGB && samples == 3 && extraCount == 0) ||
                        (photometric == PHOTOMETRIC_RGB && samples == 4 && extraCount == 1));
    if (plain) return readPlainScanlines(tif.get(), width, height, channels, image);

    const std::size_t bytes = pixelBytes(width, height, channels);
    if (bytes == 0 || pixelBytes(width, height, 4) == 0) return false;
    std::unique_ptr<std::uint32_t[]> raster(new (std::nothrow) std::uint32_t[static_cast<std::size_t>(width) * height]);
    if (!raster) return false;
    char message[1024];
    if (!TIFFRGBAImageOK(tif.get(), message)) return false;
    if (!TIFFReadRGBAImageOriented(tif.get(), width, height, raster.get(), ORIENTATION_TOPLEFT, 1)) return false;

    unsigned char* pixels = new (std::nothrow) unsigned char[bytes];
    if (!pixels) return false;
    const std::size_t count = static_cast<std::size_t>(width) * height;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t p = raster[i];
        unsigned char* out = pixels + i * channels;
        if (channels == 1) {
            out[0] = static_cast<unsigned char>(TIFFGetR(p));
        } else {
            out[0] = static_cast<unsigned char>(TIFFGetR(p));
            out[1] = static_cast<unsigned char>(TIFFGetG(p));
            out[2] = static_cast<unsigned char>(TIFFGetB(p));
            if (channels == 4) out[3] = static_cast<unsigned char>(TIFFGetA(p));
        }
    }
    image.data = pixels;
    image.width = width;
    image.height = height;
    image.channels = channels;
    return true;
}

bool writeTiff(const char* path, const Image& image) {
    TiffHandle tif = openQuietly(path, "w");
    if (!tif) return false;
    TIFF* t = tif.get();
    TIFFSetField(t, TIFFTAG_IMAGEWIDTH, image.width);
    TIFFSetField(t, TIFFTAG_IMAGELENGTH, image.height);
    TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, static_cast<std::uint16_t>(image.channels));
    TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, static_cast<std::uint16_t>(8));
    TIFFSetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(t, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(t, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    TIFFSetField(t, TIFFTAG_PHOTOMETRIC, image.channels == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    if (image.channels == 4) {
        const std::uint16_t alpha[1] = {EXTRASAMPLE_UNASSALPHA};
        TIFFSetField(t, TIFFTAG_EXTRASAMPLES, static_cast<std::uint16_t>(1), alpha);
    }
    const std::size_t stride = static_cast<std::size_t>(image.width) * image.channels;
    TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(t, 0));
    for (std::uint32_t y = 0; y < image.height; ++y)
        if (TIFFWriteScanline(t, image.data + y * stride, y, 0) < 0) return false;
    return TIFFFlush(t) == 1;
}

}  // namespace KelpImageCodec
