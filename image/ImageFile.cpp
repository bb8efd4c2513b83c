// Dispatch: files are read by their content (magic bytes) and written by
// their name's extension.
#include <KelpImageLoad.h>

#include "ImageCodecs.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>

namespace KelpImageLoad {

namespace {
enum class Kind { Unknown, Jpeg, Png, Tiff, Bmp };

Kind sniff(const char* path) {
    std::FILE* file = std::fopen(path, "rb");
    if (!file) return Kind::Unknown;
    unsigned char head[8] = {};
    const std::size_t got = std::fread(head, 1, sizeof head, file);
    std::fclose(file);
    if (got >= 3 && head[0] == 0xFF && head[1] == 0xD8 && head[2] == 0xFF) return Kind::Jpeg;
    if (got >= 8 && std::memcmp(head, "\x89PNG\r\n\x1a\n", 8) == 0) return Kind::Png;
    if (got >= 4 && (std::memcmp(head, "II*\0", 4) == 0 || std::memcmp(head, "MM\0*", 4) == 0 ||
                     std::memcmp(head, "II+\0", 4) == 0 || std::memcmp(head, "MM\0+", 4) == 0))
        return Kind::Tiff;
    if (got >= 2 && head[0] == 'B' && head[1] == 'M') return Kind::Bmp;
    return Kind::Unknown;
}

Kind byExtension(const char* path) {
    const char* dot = std::strrchr(path, '.');
    if (!dot) return Kind::Unknown;
    std::string extension(dot + 1);
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (extension == "jpg" || extension == "jpeg") return Kind::Jpeg;
    if (extension == "png") return Kind::Png;
    if (extension == "tif" || extension == "tiff") return Kind::Tiff;
    if (extension == "bmp") return Kind::Bmp;
    return Kind::Unknown;
}
}  // namespace

int KelpReadImage(const char* path, KelpCore::KelpImageData<unsigned char>& image) {
    delete[] image.data;
    image.data = nullptr;
    image.width = image.height = image.channels = 0;
    if (!path) return 0;
    KelpImageCodec::Image loaded;
    bool ok = false;
    try {
        switch (sniff(path)) {
            case Kind::Jpeg: ok = KelpImageCodec::readJpeg(path, loaded); break;
            case Kind::Png: ok = KelpImageCodec::readPng(path, loaded); break;
            case Kind::Tiff: ok = KelpImageCodec::readTiff(path, loaded); break;
            case Kind::Bmp: ok = KelpImageCodec::readBmp(path, loaded); break;
            case Kind::Unknown: break;
        }
    } catch (...) {
        ok = false;
    }
    if (!ok || !loaded.data) {
        delete[] loaded.data;
        return 0;
    }
    image.data = loaded.data;
    image.width = loaded.width;
    image.height = loaded.height;
    image.channels = loaded.channels;
    return 1;
}

int KelpWriteImage(const char* path, KelpCore::KelpImageData<unsigned char>& image) {
    if (!path || !image.data || image.width == 0 || image.height == 0) return 0;
    if (image.channels != 1 && image.channels != 3 && image.channels != 4) return 0;
    bool ok = false;
    try {
        switch (byExtension(path)) {
            case Kind::Jpeg: ok = KelpImageCodec::writeJpeg(path, image, 95); break;
            case Kind::Png: ok = KelpImageCodec::writePng(path, image); break;
            case Kind::Tiff: ok = KelpImageCodec::writeTiff(path, image); break;
            case Kind::Bmp: ok = KelpImageCodec::writeBmp(path, image); break;
            case Kind::Unknown: break;
        }
    } catch (...) {
        ok = false;
    }
    return ok ? 1 : 0;
}

}  // namespace KelpImageLoad
