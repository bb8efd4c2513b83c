// KelpReadPly: the open and the header, then the importer. There is no locale
// switch: ASCII numbers are read under whatever locale the caller has set.
#include <KelpFileIO.h>

#include "ply/PlyFile.h"
#include "ply/PlyImport.h"
#include "ply/PlyReport.h"
#include "report/Recorder.h"

namespace KelpPly {

int readPlyFile(const char* path, KelpCore::KelpTriMesh* mesh) {
    PlyFile ply;
    int code = PlyImportOk;
    const PlyReportScope report(ply, code);
    if (!path || !mesh)
        code = PlyImportNoPath;
    else if (!ply.open(path))
        code = ply.lastError;
    else
        code = importPly(ply, *mesh);
    return code;
}

}  // namespace KelpPly

namespace KelpGraphic {

bool KelpReadPly(const char* path, KelpCore::KelpTriMesh* mesh) {
    KelpRecord::Call call("KelpReadPly", path, KelpRecord::Locale::Untouched);
    return KelpPly::readPlyFile(path, mesh) == KelpPly::PlyImportOk;
}

}  // namespace KelpGraphic
