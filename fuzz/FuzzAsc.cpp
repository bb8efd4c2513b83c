#include <KelpFileIO.h>

#include "FuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path = KelpFuzz::writeInput("input.asc", data, size);
    KelpCore::KelpPointSet cloud;
    KelpFuzz::checkReport(KelpGraphic::KelpReadAsc(path.c_str(), &cloud));
    return 0;
}
