#include "pointcloud/PointCloudReport.h"

#include "report/Recorder.h"

namespace KelpPointCloud {

using KelpRecord::Code;

void noteAscEnding(bool emptyFile) { KelpRecord::note(emptyFile ? Code::AscEmpty : Code::AscRepeatedLast); }

void noteAscStaleCoordinate(std::FILE* file, std::uint64_t offset) {
    KelpRecord::noteAt(Code::AscStaleCoordinate, file, offset);
}

namespace {
const char* const kCoordinateGroups[] = {"10", "20", "30"};
}

void noteDxfStaleCoordinate(std::FILE* file, std::uint64_t offset, int axis) {
    KelpRecord::noteAt(Code::DxfStaleCoordinate, file, offset, kCoordinateGroups[axis]);
}

void noteDxfPointEnding(std::FILE* file, std::uint64_t offset, unsigned seen) {
    if (seen == 0) {
        KelpRecord::noteAt(Code::DxfZeroValue, file, offset);
        return;
    }
    // The groups are named on the first firing only; a repeat only counts.
    if (KelpRecord::noted(Code::DxfMissingCoordinates)) {
        KelpRecord::note(Code::DxfMissingCoordinates);
        return;
    }
    std::string missing;
    for (int axis = 0; axis < 3; ++axis) {
        if (seen & (1u << axis)) continue;
        missing += missing.empty() ? "\"" : ", \"";
        missing += kCoordinateGroups[axis];
        missing += '"';
    }
    KelpRecord::noteAt(Code::DxfMissingCoordinates, file, offset, missing);
}

bool failDxfHeader(bool read, std::string_view word, const char* expected, std::size_t offset) {
    std::string text = "expected \"";
    text += expected;
    text += read ? "\", found \"" + std::string(word.substr(0, 60)) + "\"" : "\", found the end of the file";
    return KelpRecord::fail(Code::DxfHeader, text, offset);
}

}  // namespace KelpPointCloud
