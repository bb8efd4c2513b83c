#include "obj/ObjSideFiles.h"

#include <KelpImageLoad.h>

#include "io/FileHandle.h"
#include "report/Recorder.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <new>

namespace KelpObj {

std::string objBaseName(const std::string& path) {
    const std::size_t backslash = path.rfind('\\');
    const std::size_t start = backslash == std::string::npos ? 0 : backslash + 1;
    const std::size_t dot = path.rfind('.');
    const std::size_t end = (dot == std::string::npos || dot < start) ? path.size() : dot;
    return path.substr(start, end - start);
}

void saveTextureImage(const std::string& directory, const std::string& baseName,
                      const KelpCore::KelpImageData<unsigned char>& image) {
    const std::uint64_t length = static_cast<std::uint64_t>(image.width) * image.height * image.channels;
    if (length > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) return;
    KelpCore::KelpImageData<unsigned char> copy;
    copy.width = image.width;
    copy.height = image.height;
    copy.channels = image.channels;
    copy.data = new (std::nothrow) unsigned char[length == 0 ? 1 : length];
    if (!copy.data) return;
    std::copy_n(image.data, length, copy.data);
    const std::string imagePath = directory + baseName + ".jpg";
    if (!KelpImageLoad::KelpWriteImage(imagePath.c_str(), copy)) KelpRecord::note(KelpRecord::Code::ObjSideFileMissing, imagePath);
    delete[] copy.data;
}

void writeMaterialFile(const std::string& directory, const std::string& baseName) {
    KelpIo::FileHandle file = KelpIo::openFile((directory + baseName + ".mtl").c_str(), "wt");
    if (!file) return KelpRecord::note(KelpRecord::Code::ObjSideFileMissing, directory + baseName + ".mtl");
    std::fprintf(file.get(), "newmtl %sMaterial\n", baseName.c_str());
    std::fprintf(file.get(), "map_Kd %s.jpg\n", baseName.c_str());
}

}  // namespace KelpObj
