// KelpReadObj: the locale switch and the open around the statement loop.
#include <KelpFileIO.h>

#include "frame/ReaderLocale.h"
#include "io/FileHandle.h"
#include "obj/ObjReader.h"
#include "report/Recorder.h"

namespace KelpGraphic {

bool KelpReadObj(const char* path, KelpCore::KelpTriMesh* mesh) {
    KelpRecord::Call call("KelpReadObj", path, KelpRecord::Locale::Switched);
    KelpFrame::switchToReaderLocale();
    KelpIo::FileHandle file = KelpIo::openFile(path, "rt");
    if (!file) {
        KelpRecord::failOpen(KelpRecord::Code::ObjOpen);
        KelpFrame::switchToCLocale();
        return false;
    }
    KelpObj::readObj(file.get(), path, *mesh);
    file.reset();
    KelpFrame::switchToCLocale();
    return true;
}

}  // namespace KelpGraphic
