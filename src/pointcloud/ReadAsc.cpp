// KelpReadAsc: only the open runs under the switched locale; the points are
// parsed under "C".
#include <KelpFileIO.h>

#include "frame/ReaderLocale.h"
#include "io/FileHandle.h"
#include "pointcloud/PointCloudReaders.h"
#include "report/Recorder.h"

namespace KelpGraphic {

bool KelpReadAsc(const char* path, KelpCore::KelpPointSet* cloud) {
    KelpRecord::Call call("KelpReadAsc", path, KelpRecord::Locale::Switched);
    KelpFrame::switchToReaderLocale();
    KelpIo::FileHandle file = KelpIo::openFile(path, "r");
    KelpFrame::switchToCLocale();
    if (!file) return KelpRecord::failOpen(KelpRecord::Code::AscOpen);
    KelpPointCloud::readAscPoints(file.get(), *cloud);
    return true;
}

}  // namespace KelpGraphic
