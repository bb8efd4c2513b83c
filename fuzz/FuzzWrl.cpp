#include <KelpFileIO.h>

#include "FuzzInput.h"

#include "vrml/VrmlReader.h"
#include "vrml/VrmlScene.h"

namespace {
bool isTokenByte(std::uint8_t c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '-' ||
           c == '.';
}

// A number or identifier of 512 or more characters ends the process, as the
// format's reader always has; such inputs are skipped rather than reported.
// Any long enough run of token characters is skipped, even inside a comment
// or string, which only costs a few inputs.
bool holdsOverlongToken(const std::uint8_t* data, std::size_t size) {
    std::size_t run = 0;
    for (std::size_t i = 0; i < size; ++i) {
        run = isTokenByte(data[i]) ? run + 1 : 0;
        if (run >= 500) return true;
    }
    return false;
}

// Every USE appends its geometry again, so a few lines of DEF/USE can
// describe billions of points; the read would then fill memory (or end the
// process, past what the mesh can count). Such inputs are measured with a
// parse of their own and skipped.
bool expandsBeyond(const std::string& path, std::uint64_t limit) {
    KelpVrml::VrmlReader reader;
    reader.open(path.c_str());
    const KelpVrml::VrmlSceneSize size = KelpVrml::expandedSize(reader.parseNode(0));
    return size.points + size.triangles > limit;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (holdsOverlongToken(data, size)) return -1;
    const std::string path = KelpFuzz::writeInput("input.wrl", data, size);
    if (expandsBeyond(path, std::uint64_t{1} << 22)) return -1;
    KelpCore::KelpTriMesh mesh;
    KelpFuzz::checkReport(KelpGraphic::KelpReadWrl(path.c_str(), &mesh));
    return 0;
}
