#include "pointcloud/PointCloudReport.h"

#include "report/Recorder.h"

namespace KelpPointCloud {

using KelpRecord::Code;

void noteAscEnding(bool emptyFile) { KelpRecord::note(emptyFile ? Code::AscEmpty : Code::AscRepeatedLast); }

void noteAscStaleCoordinate(std::FILE* file, std::uint64_t offset) {
    KelpRecord::noteAt(Code::AscStaleCoordinate, file, offset);
}

void noteDxfStaleCoordinate(std::FILE* file, std::uint64_t offset, const char* group) {
    KelpRecord::noteAt(Code::DxfStaleCoordinate, file, offset, group);
}

void noteDxfZeroValue(std::FILE* file, std::uint64_t offset) { KelpRecord::noteAt(Code::DxfZeroValue, file, offset); }

bool failDxfHeader(bool read, std::string_view word, const char* expected, std::size_t offset) {
    std::string text = "expected \"";
    text += expected;
    text += read ? "\", found \"" + std::string(word.substr(0, 60)) + "\"" : "\", found the end of the file";
    return KelpRecord::fail(Code::DxfHeader, text, offset);
}

}  // namespace KelpPointCloud
