// KelpReadStl: decide binary or ASCII, then open the file for that reader
// under the reader's locale, read, and weld.
#include <KelpFileIO.h>

#include "frame/ReaderLocale.h"
#include "io/FileHandle.h"
#include "report/Recorder.h"
#include "stl/StlReaders.h"

#include <memory>

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

    const std::uint32_t count = KelpIo::loadLe32(countBytes);
    bool binary = size == count * kRecordBytes + kCountEnd;
    // A byte outside 7-bit ASCII can only make the file binary, never ASCII.
    for (unsigned char byte : probe)
        if (byte > 127) binary = true;
    return binary;
}

}  // namespace KelpStl

namespace {

// The binary reader welds as it reads, so once the file opened it always
// succeeds; the locale goes back to "C" when the triangles have been read.
bool readBinary(const char* path, KelpCore::KelpTriMesh* mesh) {
    KelpFrame::switchToReaderLocale();
    std::unique_ptr<KelpStl::SoupWelder> welder;
    {
        KelpIo::FileHandle file = KelpIo::openFile(path, "rb");
        if (!file) return KelpRecord::failOpen(KelpRecord::Code::StlOpen);  // the locale stays switched on this path
        welder = KelpStl::readBinaryStl(file.get());
    }
    KelpFrame::switchToCLocale();
    welder->finish(mesh);
    return true;
}

// The ASCII reader may fail at a facet's corner, so it welds only after.
bool readAscii(const char* path, KelpCore::KelpTriMesh* mesh) {
    KelpFrame::switchToReaderLocale();
    KelpIo::FileHandle file = KelpIo::openFile(path, "r");
    if (!file) return KelpRecord::failOpen(KelpRecord::Code::StlOpen);  // the locale stays switched on this path
    if (!KelpStl::readAsciiStl(file.get(), mesh)) return false;       // and on this one
    file.reset();
    KelpFrame::switchToCLocale();
    KelpStl::weldSoup(mesh);
    return true;
}

}  // namespace

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

    return binary ? readBinary(path, mesh) : readAscii(path, mesh);
}

}  // namespace KelpGraphic
