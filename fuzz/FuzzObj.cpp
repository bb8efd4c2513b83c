// The OBJ reader pulls in two side files: the material library its "mtllib"
// statement names, and the texture image the library's first material names.
// The input carries all three, separated by the marker "\0KELP\0":
// OBJ text, then the material library (written as m.mtl), then image bytes
// (written as t.jpg, t.png, t.bmp and t.tif, since images are decoded by content).
#include <KelpFileIO.h>

#include "FuzzInput.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {
constexpr std::string_view kMarker("\0KELP\0", 6);

std::string_view nextPart(std::string_view& rest) {
    const std::size_t at = rest.find(kMarker);
    const std::string_view part = rest.substr(0, at);
    rest = at == std::string_view::npos ? std::string_view() : rest.substr(at + kMarker.size());
    return part;
}

void write(const char* name, std::string_view bytes) {
    KelpFuzz::writeInput(name, reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const std::string_view obj = nextPart(rest);
    const std::string_view mtl = nextPart(rest);
    const std::string_view image = nextPart(rest);
    write("m.mtl", mtl);
    for (const char* name : {"t.jpg", "t.png", "t.bmp", "t.tif"}) write(name, image);
    write("input.obj", obj);
    const std::string path = KelpFuzz::privateDir() + "/input.obj";
    KelpCore::KelpTriMesh mesh;
    KelpFuzz::checkReport(KelpGraphic::KelpReadObj(path.c_str(), &mesh));
    return 0;
}
