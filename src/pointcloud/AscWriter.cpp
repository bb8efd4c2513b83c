// ASC writing: one "%f %f %f \n" line per point. Lines are formatted with
// to_chars, which rounds exactly as printf's %f does, into a block buffer.
#include <KelpFileIO.h>

#include "io/FileHandle.h"
#include "report/Recorder.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace KelpGraphic {

namespace {
// Worst case of one %f field: a float's largest finite value has 39 integer
// digits, plus sign, point and six decimals.
constexpr std::size_t kFieldRoom = 64;
constexpr std::size_t kLineRoom = 3 * kFieldRoom;

char* formatFixed(char* out, float value) {
    if (!std::isfinite(value)) {
        // printf spells these "inf", "-inf", "nan" and "-nan".
        const int written = std::snprintf(out, kFieldRoom, "%f", static_cast<double>(value));
        return out + written;
    }
    return std::to_chars(out, out + kFieldRoom, static_cast<double>(value), std::chars_format::fixed, 6).ptr;
}
}  // namespace

bool KelpWriteAsc(const char* path, KelpCore::KelpPointSet* cloud) {
    KelpRecord::Call call("KelpWriteAsc", path, KelpRecord::Locale::Untouched);
    KelpIo::FileHandle file = KelpIo::openFile(path, "wb");
    if (!file) return KelpRecord::failOpen(KelpRecord::Code::AscWriteOpen);

    constexpr std::size_t kBlock = 1 << 16;
    char block[kBlock + kLineRoom];
    std::size_t used = 0;
    for (std::uint32_t i = 0; i < cloud->vertexCount; ++i) {
        char* out = block + used;
        for (float coordinate : cloud->vertices[i]) {
            out = formatFixed(out, coordinate);
            *out++ = ' ';
        }
        *out++ = '\n';
        used = static_cast<std::size_t>(out - block);
        if (used >= kBlock) {
            std::fwrite(block, 1, used, file.get());
            used = 0;
        }
    }
    std::fwrite(block, 1, used, file.get());
    return true;
}

}  // namespace KelpGraphic
