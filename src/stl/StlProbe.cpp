// KelpStlAnnouncedFaces: the binary/ASCII decision of KelpReadStl and the
// header count, so that a host can refuse a file before the read sizes its
// arrays from that count.
#include <KelpFileIO.h>

#include "io/FileHandle.h"
#include "stl/StlReaders.h"

namespace KelpGraphic {

bool KelpStlAnnouncedFaces(const char* path, std::uint32_t* count) {
    KelpIo::FileHandle file = KelpIo::openFile(path, "rb");
    if (!file || !KelpStl::looksBinary(file.get())) return false;
    unsigned char countBytes[4] = {};
    std::fseek(file.get(), KelpStl::kHeaderBytes, SEEK_SET);
    std::fread(countBytes, 1, sizeof countBytes, file.get());
    *count = KelpStl::loadU32(countBytes);
    return true;
}

}  // namespace KelpGraphic
