#include <KelpFileIO.h>

#include "FuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path = KelpFuzz::writeInput("input.3ds", data, size);
    KelpCore::KelpTriMesh mesh;
    KelpFuzz::checkReport(KelpGraphic::KelpRead3ds(path.c_str(), &mesh));
    return 0;
}
