// KelpWriteObj: the locale switch and the open around the writer.
#include <KelpFileIO.h>

#include "frame/ReaderLocale.h"
#include "io/FileHandle.h"
#include "obj/ObjWriter.h"
#include "report/Recorder.h"

namespace KelpGraphic {

bool KelpWriteObj(const char* path, KelpCore::KelpTriMesh* mesh) {
    KelpRecord::Call call("KelpWriteObj", path, KelpRecord::Locale::Switched);
    KelpFrame::switchToReaderLocale();
    KelpIo::FileHandle file = KelpIo::openFile(path, "w");
    if (!file) return KelpRecord::failOpen(KelpRecord::Code::ObjWriteOpen);  // the locale is left switched on this path
    KelpObj::writeObj(file.get(), path, *mesh);
    KelpFrame::switchToCLocale();
    return true;
}

}  // namespace KelpGraphic
