// KelpReadWrl: the version probe, one parse of the file's first node, and the
// walk that turns its Coordinate3 points and IndexedFaceSet triangles into
// mesh vertices and faces. Transforms, materials and shapes add nothing;
// indices go in as read, without an offset and without a range check.
#include <KelpFileIO.h>

#include "frame/ReaderLocale.h"
#include "io/FileHandle.h"
#include "report/Recorder.h"
#include "vrml/VrmlKeywords.h"
#include "vrml/VrmlReader.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <vector>

namespace KelpVrml {

VrmlReader& vrmlReader() {
    static VrmlReader reader;
    return reader;
}

const char* lastVrmlError() { return vrmlReader().errorText(); }

std::uint64_t expansionBudget(std::uint64_t sceneSize) { return (std::uint64_t{1} << 24) + 16 * sceneSize; }

bool appendSceneToMesh(const VrmlNode* top, KelpCore::KelpTriMesh& mesh, std::uint64_t budget) {
    if (!top) return true;
    std::uint64_t spent = 0;
    // USE records share their target, and USE chains can be far deeper than
    // the nesting of the file, so the walk keeps its own stack.
    std::vector<const VrmlNode*> pending{top};
    while (!pending.empty()) {
        const VrmlNode* node = pending.back();
        pending.pop_back();

        std::uint64_t cost = 1;
        for (const VrmlField& field : node->fields) {
            if (node->type == kCoordinate3 && field.kind == kPoint)
                cost += std::min<std::size_t>(static_cast<std::size_t>(field.count), field.floats.size()) / 3;
            else if (node->type == kIndexedFaceSet && field.kind == kCoordIndex)
                cost += std::min<std::size_t>(static_cast<std::size_t>(field.count), field.ints.size()) / 3;
        }
        if (cost > budget - spent) { KelpRecord::note(KelpRecord::Code::WrlBudget, {}, budget); return false; }
        spent += cost;

        for (const VrmlField& field : node->fields) {
            if (node->type == kCoordinate3 && field.kind == kPoint) {
                const std::size_t points =
                    std::min<std::size_t>(static_cast<std::size_t>(field.count), field.floats.size()) / 3;
                const float* xyz = field.floats.data();
                for (std::size_t i = 0; i < points; ++i, xyz += 3) mesh.addVertex({xyz[0], xyz[1], xyz[2]});
            } else if (node->type == kIndexedFaceSet && field.kind == kCoordIndex) {
                const std::size_t triangles =
                    std::min<std::size_t>(static_cast<std::size_t>(field.count), field.ints.size()) / 3;
                const std::int32_t* abc = field.ints.data();
                for (std::size_t i = 0; i < triangles; ++i, abc += 3)
                    mesh.addFace(static_cast<std::uint32_t>(abc[0]), static_cast<std::uint32_t>(abc[1]),
                                 static_cast<std::uint32_t>(abc[2]));
            }
        }
        for (auto child = node->children.rbegin(); child != node->children.rend(); ++child) pending.push_back(*child);
    }
    return true;
}

namespace {

// Parses the file's first node and appends what it holds. A failed parse
// returns no node: the failing nodes never received a type and the failing
// groups dropped their children, so nothing reaches the mesh.
void readScene(const char* path, KelpCore::KelpTriMesh& mesh) {
    try {
        VrmlReader& reader = vrmlReader();
        reader.clearEndOfInput();
        reader.open(path);
        const VrmlNode* top = reader.parseNode(0);
        if (!top) KelpRecord::note(KelpRecord::Code::WrlParse, reader.errorText());
        appendSceneToMesh(top, mesh, expansionBudget(reader.sceneSize()));
        reader.close();
        reader.releaseScene();
    } catch (const std::bad_alloc&) {
        // Memory ran out for the reader, a record, a value array or the
        // mesh: the reader has always ended the process here.
        std::exit(-1);
    }
}

}  // namespace

}  // namespace KelpVrml

namespace KelpGraphic {

bool KelpReadWrl(const char* path, KelpCore::KelpTriMesh* mesh) {
    KelpRecord::Call call("KelpReadWrl", path, KelpRecord::Locale::Switched);
    KelpFrame::switchToReaderLocale();
    float version = -1.0f;
    if (KelpIo::FileHandle probe = KelpIo::openFile(path, "r")) {
        const int matched = std::fscanf(probe.get(), "#VRML V%f", &version);
        static_cast<void>(matched);
        if (version != 1.0f) KelpRecord::note(KelpRecord::Code::WrlVersion);
    } else {
        KelpRecord::noteOpen(KelpRecord::Code::WrlOpen);
    }
    if (version == 1.0f) KelpVrml::readScene(path, *mesh);
    KelpFrame::switchToCLocale();
    return true;
}

}  // namespace KelpGraphic
