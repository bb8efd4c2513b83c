// ASC reading. The file is read in one block and scanned in memory with the
// exact results of the classic loop
//
//     while (!in.eof()) { getline(in, line); istringstream(line) >> x >> y >> z;
//                         cloud->addVertex({x, y, z}); if (in.fail()) break; }
//
// including its stale coordinates on unreadable lines and the extra copy of
// the last point when the file ends with a line feed.
#include <KelpFileIO.h>

#include "frame/ReaderLocale.h"
#include "io/FileHandle.h"
#include "io/FileBytes.h"
#include "report/Recorder.h"
#include "pointcloud/PointCloudReport.h"
#include "pointcloud/StreamFloat.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace KelpGraphic {

bool KelpReadAsc(const char* path, KelpCore::KelpPointSet* cloud) {
    // Only the open runs under the switched locale; the parse runs under "C".
    KelpRecord::Call call("KelpReadAsc", path, KelpRecord::Locale::Switched);
    KelpFrame::switchToReaderLocale();
    KelpIo::FileHandle file = KelpIo::openFile(path, "r");
    KelpFrame::switchToCLocale();
    if (!file) return KelpRecord::failOpen(KelpRecord::Code::AscOpen);

    std::string bytes;
    KelpIo::readRemaining(file.get(), bytes);
    file.reset();
    KelpPointCloud::noteAscEnding(bytes);

    const char* cursor = bytes.data();
    const char* const end = cursor + bytes.size();
    // Declared once and never reset: an unreadable coordinate keeps the value
    // of the line before.
    float xyz[3] = {0.0f, 0.0f, 0.0f};
    bool atEnd = false;
    while (!atEnd) {
        const char* lineEnd;
        bool lineFailed = false;
        if (cursor == end) {
            // getline extracts nothing: eof and fail, with an empty line.
            lineEnd = end;
            lineFailed = true;
            atEnd = true;
        } else {
            const void* feed = std::memchr(cursor, '\n', static_cast<std::size_t>(end - cursor));
            lineEnd = feed ? static_cast<const char*>(feed) : end;
            atEnd = feed == nullptr;
        }
        const char* field = cursor;
        for (float& coordinate : xyz) {
            if (!KelpPointCloud::extractStreamFloat(&field, lineEnd, coordinate)) break;
        }
        cloud->addVertex({xyz[0], xyz[1], xyz[2]});
        if (lineFailed) break;
        cursor = lineEnd == end ? end : lineEnd + 1;
    }
    return true;
}

}  // namespace KelpGraphic
