// ASCII STL into a triangle soup. Only the number of words is checked, never
// their spelling: a first line skipped, then per facet two words and the
// normal, two words, three corner lines of a word and three numbers, two words.
// The file is streamed through the scanning core with the results of the
// fscanf calls that define the grammar, end-of-file indicator included.
#include "platform/FileOffset.h"
#include "report/Recorder.h"
#include "scan/ScanCursor.h"
#include "stl/StlReaders.h"

#include <algorithm>
#include <vector>

namespace KelpStl {

namespace {
// "%*s" `words` times with white space between, then "%f %f %f\n". True only
// when all three numbers were converted; a failed conversion ends the format
// there, before its white-space directives.
bool wordsThenTriple(KelpScan::ScanCursor& in, int words, float (&values)[3]) {
    for (int w = 0; w < words; ++w) {
        if (!in.skipWord()) return false;
        in.skipSpace();
    }
    for (float& v : values) {
        if (!in.readFloat(v)) return false;
        in.skipSpace();
    }
    return true;
}

// A facet takes at least 20 words; reserving for what a regular file could
// hold at typical line lengths saves most regrowth (untouched reserve costs
// address space, not memory).
std::size_t expectedFacets(std::FILE* file) {
    const KelpPlatform::FileStatus status = KelpPlatform::statusOf(file);
    if (!status.regular || status.size <= 0) return 0;
    return static_cast<std::size_t>(status.size / 256);
}
}  // namespace

bool readAsciiStl(std::FILE* file, KelpCore::KelpTriMesh* mesh) {
    // The decimal point and white space of the locale in force (the reader's).
    KelpScan::ScanSource source(file);
    KelpScan::ScanCursor in(source, KelpScan::ScanLocale::current());

    std::vector<KelpCore::Vec3f> vertices;
    std::vector<KelpCore::Vec3u> faces;
    faces.reserve(expectedFacets(file));
    vertices.reserve(faces.capacity() * 3);

    in.skipLine();  // the "solid" line, not checked
    while (!in.eof()) {
        float normal[3];
        if (wordsThenTriple(in, 2, normal)) {
            in.skipWord();
            in.skipSpace();
            in.skipWord();
            float corners[3][3];
            for (auto& corner : corners) {
                // A facet whose normal parsed must have three full corners;
                // otherwise the read fails and the mesh keeps what it held.
                if (!wordsThenTriple(in, 1, corner))
                    return failCorner(file, source.offset(), &corner - corners, faces.size());
            }
            in.skipWord();
            in.skipWord();
            // A file that ends right after the last word of a facet loses that facet.
            if (in.eof()) {
                noteLastFacetDropped();
                break;
            }
            // 32-bit counts bound the soup; a file beyond that (hundreds of
            // gigabytes) ends there.
            if (vertices.size() > 0xFFFFFFFFu - 3) break;
            // Provisional face numbers, one step per facet: welding rebuilds
            // every face from the vertex order and never reads them.
            const auto k = static_cast<std::uint32_t>(faces.size());
            for (const auto& corner : corners) vertices.push_back({corner[0], corner[1], corner[2]});
            faces.push_back({k, k + 1, k + 2});
        } else if (!in.eof()) {
            // A normal that did not parse has still used up its two words, so
            // other text is passed over two words at a time.
            noteWordsPassedOver(file, source.offset());
        }
    }

    mesh->setFaceCount(static_cast<std::uint32_t>(faces.size()));
    mesh->setVertexCount(static_cast<std::uint32_t>(vertices.size()));
    std::copy(faces.begin(), faces.end(), mesh->faces.begin());
    std::copy(vertices.begin(), vertices.end(), mesh->vertices.begin());
    return true;
}

}  // namespace KelpStl
