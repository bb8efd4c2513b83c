// KelpStlAnnouncedFaces: the binary/ASCII decision of KelpReadStl and the
// header count, so that a host can refuse a file before the read sizes its
// arrays from that count.
#include <KelpFileIO.h>

#include "io/FileHandle.h"
#include "stl/StlReaders.h"

namespace KelpGraphic {

bool KelpStlAnnouncedFaces(const char* path, std::uint32_t* count) {
    {
        // Decided on a text-mode handle, as KelpReadStl decides: where text
        // mode translates, the bytes it judges are the ones that handle gives.
        KelpIo::FileHandle text = KelpIo::openFile(path, "rt");
        if (!text || !KelpStl::looksBinary(text.get())) return false;
    }
    // The count as the binary reader takes it, untranslated.
    KelpIo::FileHandle file = KelpIo::openFile(path, "rb");
    if (!file) return false;
    unsigned char countBytes[4] = {};
    std::fseek(file.get(), KelpStl::kHeaderBytes, SEEK_SET);
    std::fread(countBytes, 1, sizeof countBytes, file.get());
    *count = KelpIo::loadLe32(countBytes);
    return true;
}

}  // namespace KelpGraphic
