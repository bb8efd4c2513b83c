// KelpReadDxf: the locale switch and the open around the POINT reader.
#include <KelpFileIO.h>

#include "frame/ReaderLocale.h"
#include "io/FileHandle.h"
#include "pointcloud/PointCloudReaders.h"
#include "report/Recorder.h"

namespace KelpGraphic {

bool KelpReadDxf(const char* path, KelpCore::KelpPointSet* cloud) {
    KelpRecord::Call call("KelpReadDxf", path, KelpRecord::Locale::Switched);
    KelpFrame::switchToReaderLocale();
    // A file that cannot be opened fails like one with a wrong header: false,
    // with the locale left switched.
    KelpIo::FileHandle file = KelpIo::openFile(path, "rt");
    if (!file) return KelpRecord::failOpen(KelpRecord::Code::DxfOpen);
    // A failed header check, or no "ENTITIES", leaves the locale switched too.
    if (!KelpPointCloud::readDxfPoints(file.get(), *cloud)) return false;
    file.reset();
    KelpFrame::switchToCLocale();
    return true;
}

}  // namespace KelpGraphic
