// KelpReadStl: decide binary or ASCII, run that reader, weld on success.
#include <KelpFileIO.h>

#include "frame/ReaderLocale.h"
#include "io/FileHandle.h"
#include "report/Recorder.h"
#include "stl/StlReaders.h"

namespace KelpStl {

bool looksBinary(std::FILE* file) {
    std::fseek(file, 0, SEEK_END);
    // The position is taken as a signed 32-bit size and compared with the
    // expected size modulo 2^32; an ftell failure (-1) takes part as it is.
    const auto size = static_cast<std::uint32_t>(std::ftell(file));

    // Cleared, so that a short file is judged by the bytes it has and zeros.
    unsigned char countBytes[4] = {};
    unsigned char probe[128] = {};
    std::fseek(file, kHeaderBytes, SEEK_SET);
    std::fread(countBytes, 1, sizeof countBytes, file);
    std::fread(probe, 1, sizeof probe, file);

    const std::uint32_t count = loadU32(countBytes);
    bool binary = size == count * kRecordBytes + kCountEnd;
    // A byte outside 7-bit ASCII can only make the file binary, never ASCII.
    for (unsigned char byte : probe)
        if (byte > 127) binary = true;
    return binary;
}

}  // namespace KelpStl

namespace KelpGraphic {

bool KelpReadStl(const char* path, KelpCore::KelpTriMesh* mesh) {
    KelpRecord::Call call("KelpReadStl", path, KelpRecord::Locale::Switched);
    KelpFrame::switchToReaderLocale();
    bool binary;
    {
        // Text mode as the detection has always used; Linux translates nothing.
        KelpIo::FileHandle file = KelpIo::openFile(path, "rt");
        if (!file) return KelpRecord::failOpen(KelpRecord::Code::StlOpen);  // the locale stays switched on this path
        binary = KelpStl::looksBinary(file.get());
    }
    KelpFrame::switchToCLocale();

    // The binary reader always succeeds once the file opened, so it welds
    // as it reads; the ASCII reader may still fail at its last facet.
    if (binary) return KelpStl::readBinaryStl(path, mesh);
    const bool read = KelpStl::readAsciiStl(path, mesh);
    if (read) KelpStl::weldSoup(mesh);
    return read;
}

}  // namespace KelpGraphic
