// KelpRead3ds: the locale switch and file handling around the chunk walk.
#include <KelpFileIO.h>

#include "3ds/Scene3ds.h"
#include "frame/ReaderLocale.h"
#include "io/FileHandle.h"
#include "report/Recorder.h"

namespace KelpGraphic {

bool KelpRead3ds(const char* path, KelpCore::KelpTriMesh* mesh) {
    KelpRecord::Call call("KelpRead3ds", path, KelpRecord::Locale::Switched);
    KelpFrame::switchToReaderLocale();
    // The last material, light and camera records live for this call only.
    Kelp3ds::Scene3ds scene;
    bool result = false;
    if (KelpIo::FileHandle file = KelpIo::openFile(path, "rb")) result = Kelp3ds::readChunks(file.get(), *mesh, scene);
    else KelpRecord::failOpen(KelpRecord::Code::T3dsOpen);
    KelpFrame::switchToCLocale();
    return result;
}

}  // namespace KelpGraphic
