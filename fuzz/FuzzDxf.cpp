#include <KelpFileIO.h>

#include "FuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path = KelpFuzz::writeInput("input.dxf", data, size);
    KelpCore::KelpPointSet cloud;
    KelpGraphic::KelpReadDxf(path.c_str(), &cloud);
    KelpGraphic::KelpLastReport();  // formats the reason and notes of this input
    return 0;
}
