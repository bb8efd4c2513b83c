// KelpReadPly: the open and the header, then the importer. There is no locale
// switch: ASCII numbers are read under whatever locale the caller has set.
#include <KelpFileIO.h>

#include "ply/PlyFile.h"
#include "ply/PlyImport.h"

#include <utility>

namespace KelpPly {

int readPlyFile(const char* path, KelpCore::KelpTriMesh* mesh) {
    if (!path || !mesh) return PlyImportNoPath;
    PlyFile ply;
    if (!ply.open(path)) return ply.lastError;
    return importPly(std::move(ply), *mesh);
}

}  // namespace KelpPly

namespace KelpGraphic {

bool KelpReadPly(const char* path, KelpCore::KelpTriMesh* mesh) {
    return KelpPly::readPlyFile(path, mesh) == KelpPly::PlyImportOk;
}

}  // namespace KelpGraphic
