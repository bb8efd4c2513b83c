// KelpWriteStl: binary STL from the face arrays, with the mesh owner's
// recordedFaceCount as the count and no header text.
#include <KelpFileIO.h>

#include "io/FileHandle.h"
#include "report/Recorder.h"
#include "stl/StlReaders.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace KelpGraphic {

bool KelpWriteStl(const char* path, KelpCore::KelpTriMesh* mesh) {
    KelpRecord::Call call("KelpWriteStl", path, KelpRecord::Locale::Untouched);
    KelpIo::FileHandle file = KelpIo::openFile(path, "wb");
    if (!file) return KelpRecord::failOpen(KelpRecord::Code::StlWriteOpen);

    // The header is never written: seeking over it leaves the gap that the
    // file system fills (zeros on ordinary file systems).
    std::fseek(file.get(), KelpStl::kHeaderBytes, SEEK_SET);
    unsigned char countBytes[4];
    KelpStl::storeU32(countBytes, mesh->recordedFaceCount);
    std::fwrite(countBytes, 1, sizeof countBytes, file.get());
    if (mesh->faceCount == 0) return true;

    // Records are assembled in blocks; normals and attribute counts stay zero.
    constexpr std::size_t kBlockRecords = 4096;
    std::vector<unsigned char> block(kBlockRecords * KelpStl::kRecordBytes);
    std::size_t used = 0;
    const std::size_t faceTotal = std::min<std::size_t>(mesh->faceCount, mesh->faces.size());
    const std::size_t vertexTotal = mesh->vertices.size();
    for (std::size_t i = 0; i < faceTotal; ++i) {
        if (i < mesh->faceFlags.size() && (mesh->faceFlags[i] & 1u)) continue;  // deleted
        unsigned char* record = block.data() + used;
        std::memset(record, 0, KelpStl::kRecordBytes);
        for (int c = 0; c < 3; ++c) {
            // Indices are not checked against vertexCount; one that names no
            // stored vertex is written as the origin rather than read past the array.
            const std::uint32_t index = mesh->faces[i][c];
            if (index < vertexTotal) KelpStl::storePosition(record + 12 + 12 * c, mesh->vertices[index]);
        }
        used += KelpStl::kRecordBytes;
        if (used == block.size()) {
            std::fwrite(block.data(), 1, used, file.get());
            used = 0;
        }
    }
    std::fwrite(block.data(), 1, used, file.get());
    return true;
}

}  // namespace KelpGraphic
