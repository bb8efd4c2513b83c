#include "FuzzInput.h"

#include "scan/ScanSource.h"

#include <KelpReport.h>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace KelpFuzz {

const std::string& privateDir() {
    static const std::string dir = [] {
        std::string pattern = "/tmp/kelp-fuzz-XXXXXX";
        if (!mkdtemp(pattern.data())) std::abort();
        return pattern;
    }();
    return dir;
}

namespace {
// Half the inputs are read through a window of 1 to 16 bytes, chosen from the
// bytes themselves so that a finding replays the same way: refills then fall
// inside words, numbers and lines.
void chooseWindow(const std::uint8_t* data, std::size_t size) {
    std::uint32_t hash = 2166136261u;
    for (std::size_t i = 0; i < size; ++i) hash = (hash ^ data[i]) * 16777619u;
    KelpScan::ScanSource::setChunkForTesting(hash & 1u ? 1 + (hash >> 1) % 16 : 0);
}
}  // namespace

std::string writeInput(const std::string& name, const std::uint8_t* data, std::size_t size) {
    chooseWindow(data, size);
    const std::string path = privateDir() + "/" + name;
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) std::abort();
    if (size && std::fwrite(data, 1, size, file) != size) std::abort();
    std::fclose(file);
    return path;
}

void checkReport(bool result) {
    const KelpGraphic::KelpReport& report = *KelpGraphic::KelpLastReport();
    const bool reasoned = report.reasonCode != 0 && *report.reason != '\0';
    if (report.result != (result ? 1 : 0) || reasoned == result) std::abort();
}

}  // namespace KelpFuzz
