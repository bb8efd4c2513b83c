// KelpReadWrl: the version probe, one parse of the file's first node, and the
// walk that turns its Coordinate3 points and IndexedFaceSet triangles into
// mesh vertices and faces. Transforms, materials and shapes add nothing;
// indices go in as read, without an offset and without a range check.
#include <KelpFileIO.h>

#include "frame/ReaderLocale.h"
#include "io/FileHandle.h"
#include "report/Recorder.h"
#include "vrml/VrmlReader.h"
#include "vrml/VrmlReport.h"
#include "vrml/VrmlScene.h"

#include <cstdio>
#include <cstdlib>
#include <new>

namespace KelpVrml {

VrmlReader& vrmlReader() {
    static VrmlReader reader;
    return reader;
}

const char* lastVrmlError() { return vrmlReader().errorText(); }

namespace {

// Parses the file's first node and appends what it holds. A failed parse
// returns no node: the failing nodes never received a type and the failing
// groups dropped their children, so nothing reaches the mesh.
void readScene(const char* path, KelpCore::KelpTriMesh& mesh) {
    try {
        VrmlReader& reader = vrmlReader();
        reader.clearEndOfInput();
        reader.open(path);
        VrmlNode* top = reader.parseNode(0);
        if (!top) KelpRecord::note(KelpRecord::Code::WrlParse, reader.errorText());
        else if (reader.lookAhead().code != kTokenEnd) noteFirstNodeOnly(reader.line());
        appendSceneToMesh(top, mesh);
        reader.close();
        reader.releaseScene();
    } catch (const std::bad_alloc&) {
        // Memory ran out for the reader, a record, a value array or the
        // mesh, or the expanded scene cannot be held: the reader has always
        // ended the process here.
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
