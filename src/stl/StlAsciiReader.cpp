// ASCII STL into a triangle soup. Only the number of words is checked, never
// their spelling: a first line skipped, then per facet two words and the
// normal, two words, three corner lines of a word and three numbers, two words.
// The file is read in one block and scanned in memory with the results of the
// fscanf calls that define the grammar, end-of-file indicator included.
#include "frame/ReaderLocale.h"
#include "io/FileBytes.h"
#include "io/FileHandle.h"
#include "report/Recorder.h"
#include "stl/StlReaders.h"
#include "stl/StlScan.h"

#include <algorithm>
#include <clocale>
#include <string>
#include <vector>

namespace KelpStl {

namespace {
char localeDecimalPoint() {
    const std::lconv* conventions = std::localeconv();
    const char* point = conventions ? conventions->decimal_point : nullptr;
    return point && point[0] && !point[1] ? point[0] : '.';
}
}  // namespace

bool readAsciiStl(const char* path, KelpCore::KelpTriMesh* mesh) {
    KelpFrame::switchToReaderLocale();
    KelpIo::FileHandle file = KelpIo::openFile(path, "r");
    if (!file) return KelpRecord::failOpen(KelpRecord::Code::StlOpen);  // the locale stays switched on this path

    std::string bytes;
    KelpIo::readRemaining(file.get(), bytes);
    ScanCursor in(bytes.data(), bytes.data() + bytes.size(), localeDecimalPoint());

    std::vector<KelpCore::Vec3f> vertices;
    std::vector<KelpCore::Vec3u> faces;
    // A facet takes at least 20 words; reserving for what the file could hold
    // at typical line lengths saves most regrowth.
    faces.reserve(bytes.size() / 256);
    vertices.reserve(faces.capacity() * 3);

    in.skipLine();  // the "solid" line, not checked
    while (!in.atEnd()) {
        float normal[3];
        if (in.wordsThenTriple(2, normal)) {
            in.skipWord();
            in.skipSpace();
            in.skipWord();
            float corners[3][3];
            for (auto& corner : corners) {
                // A facet whose normal parsed must have three full corners;
                // otherwise the read fails and the mesh keeps what it held. The
                // locale stays switched on this path.
                if (!in.wordsThenTriple(1, corner)) return failCorner(bytes.data(), in.position(), &corner - corners, faces.size());
            }
            in.skipWord();
            in.skipWord();
            // A file that ends right after the last word of a facet loses that facet.
            if (in.atEnd()) { noteLastFacetDropped(); break; }
            // 32-bit counts bound the soup; a file beyond that (hundreds of
            // gigabytes) ends there.
            if (vertices.size() > 0xFFFFFFFFu - 3) break;
            // Provisional face numbers, one step per facet: welding rebuilds
            // every face from the vertex order and never reads them.
            const auto k = static_cast<std::uint32_t>(faces.size());
            for (const auto& corner : corners) vertices.push_back({corner[0], corner[1], corner[2]});
            faces.push_back({k, k + 1, k + 2});
        }
        // A normal that did not parse has still used up its two words, so
        // other text is passed over two words at a time.
    }

    mesh->setFaceCount(static_cast<std::uint32_t>(faces.size()));
    mesh->setVertexCount(static_cast<std::uint32_t>(vertices.size()));
    std::copy(faces.begin(), faces.end(), mesh->faces.begin());
    std::copy(vertices.begin(), vertices.end(), mesh->vertices.begin());
    file.reset();
    KelpFrame::switchToCLocale();
    return true;
}

}  // namespace KelpStl
