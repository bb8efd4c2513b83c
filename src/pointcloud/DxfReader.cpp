// DXF POINT reading. The drawing is not parsed as group-code/value pairs: it
// is a stream of white-space-separated words, and a handful of words act
// wherever they occur. The file is streamed through the scanning core with
// the results of the classic fscanf("%250s") / fscanf("%f") loop.
#include <KelpFileIO.h>

#include "frame/ReaderLocale.h"
#include "io/FileHandle.h"
#include "pointcloud/PointCloudReport.h"
#include "report/Recorder.h"
#include "scan/ScanCursor.h"

#include <cstring>
#include <string>

namespace KelpGraphic {

namespace {
// Words are read with "%250s": a longer run of non-space bytes comes in
// pieces of this length.
constexpr std::size_t kWordLimit = 250;

// The word as the C string "%s" stores: the comparison stops at an embedded
// zero byte.
bool wordIs(const std::string& word, const char* keyword) { return std::strcmp(word.c_str(), keyword) == 0; }

// The words after "POINT" up to the "0" that ends it. Any word "0" ends the
// point, a layer value "0" before the coordinates included: the point then
// repeats the coordinates of the one before, and its own are passed over by
// the entity scan. False when the file ends first (nothing is appended).
bool readPoint(KelpScan::ScanCursor& scan, std::string& word, float (&xyz)[3], KelpCore::KelpPointSet& cloud) {
    while (scan.readWordWidth(word, kWordLimit)) {
        if (wordIs(word, "0")) {
            cloud.addVertex({xyz[0], xyz[1], xyz[2]});
            return true;
        }
        // A value that is no number leaves the coordinate as it was and
        // stays to be read as the next word.
        if (wordIs(word, "10"))
            scan.readFloat(xyz[0]);
        else if (wordIs(word, "20"))
            scan.readFloat(xyz[1]);
        else if (wordIs(word, "30"))
            scan.readFloat(xyz[2]);
    }
    return false;
}
}  // namespace

bool KelpReadDxf(const char* path, KelpCore::KelpPointSet* cloud) {
    KelpRecord::Call call("KelpReadDxf", path, KelpRecord::Locale::Switched);
    KelpFrame::switchToReaderLocale();
    // A file that cannot be opened fails like one with a wrong header: false,
    // with the locale left switched.
    KelpIo::FileHandle file = KelpIo::openFile(path, "rt");
    if (!file) return KelpRecord::failOpen(KelpRecord::Code::DxfOpen);

    // White space and the decimal point come from the locale switched to
    // above, as the stdio scan would take them.
    KelpScan::ScanSource source(file.get());
    KelpScan::ScanCursor scan(source, KelpScan::ScanLocale::current());
    std::string word;
    word.reserve(kWordLimit);
    for (const char* expected : {"0", "SECTION", "2"}) {
        // The section's name (the fourth word) is not looked at. Format
        // failures leave the locale switched.
        const bool read = scan.readWordWidth(word, kWordLimit);
        if (!read || !wordIs(word, expected))
            return KelpPointCloud::failDxfHeader(read, word, expected, source.offset());
    }
    do {
        if (!scan.readWordWidth(word, kWordLimit))
            return KelpRecord::fail(KelpRecord::Code::DxfNoEntities, {}, source.offset());
    } while (!wordIs(word, "ENTITIES"));

    // Kept across points: a point without a "20" takes the y of the one before.
    float xyz[3] = {0.0f, 0.0f, 0.0f};
    // The end of the file ends the scan as "ENDSEC" would, also inside a point.
    while (scan.readWordWidth(word, kWordLimit) && !wordIs(word, "ENDSEC")) {
        if (wordIs(word, "POINT") && !readPoint(scan, word, xyz, *cloud)) break;
    }
    if (!wordIs(word, "ENDSEC")) KelpRecord::note(KelpRecord::Code::DxfNoEndsec);
    file.reset();
    KelpFrame::switchToCLocale();
    return true;
}

}  // namespace KelpGraphic
