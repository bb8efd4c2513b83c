#include <KelpFileIO.h>

#include "FuzzInput.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {
// A binary STL sizes its arrays from the header's triangle count before it
// reads anything (about 64 bytes per announced triangle), so a few bytes can
// ask for gigabytes. That allocation is the format's documented cost, not a
// fault: inputs that the detection would read as binary with a count beyond a
// million are skipped.
bool announcesHugeBinaryMesh(const std::uint8_t* data, std::size_t size) {
    std::uint32_t count = 0;
    if (size >= 84) std::memcpy(&count, data + 80, 4);
    bool binary = static_cast<std::uint32_t>(size) == count * 50u + 84u;
    for (std::size_t i = 84; i < 212 && i < size; ++i) binary = binary || data[i] > 127;
    return binary && count > (1u << 20);
}
}  // namespace

// The reader's progress lines go to standard output on every input; libFuzzer
// reports on standard error, so standard output is silenced.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    if (!std::freopen("/dev/null", "w", stdout)) return 1;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (announcesHugeBinaryMesh(data, size)) return -1;
    const std::string path = KelpFuzz::writeInput("input.stl", data, size);
    KelpCore::KelpTriMesh mesh;
    KelpFuzz::checkReport(KelpGraphic::KelpReadStl(path.c_str(), &mesh));
    return 0;
}
