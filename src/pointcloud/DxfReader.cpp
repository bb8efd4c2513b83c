// DXF POINT reading. The drawing is not parsed as group-code/value pairs: it
// is a stream of white-space-separated words, and a handful of words act
// wherever they occur. The file is read in one block and scanned in memory
// with the results of the classic fscanf("%250s") / fscanf("%f") loop.
#include <KelpFileIO.h>

#include "frame/ReaderLocale.h"
#include "io/FileBytes.h"
#include "io/FileHandle.h"
#include "report/Recorder.h"
#include "pointcloud/DxfScan.h"
#include "pointcloud/PointCloudReport.h"

#include <string>
#include <string_view>

namespace KelpGraphic {

using KelpPointCloud::DxfScanner;

namespace {
// The words after "POINT" up to the "0" that ends it. Any word "0" ends the
// point, a layer value "0" before the coordinates included: the point then
// repeats the coordinates of the one before, and its own are passed over by
// the entity scan. False when the file ends first (nothing is appended).
bool readPoint(DxfScanner& scan, float (&xyz)[3], KelpCore::KelpPointSet& cloud) {
    std::string_view word;
    while (scan.nextWord(word)) {
        if (DxfScanner::wordIs(word, "0")) {
            cloud.addVertex({xyz[0], xyz[1], xyz[2]});
            return true;
        }
        // A value that is no number leaves the coordinate as it was and
        // stays to be read as the next word.
        if (DxfScanner::wordIs(word, "10"))
            scan.scanFloat(xyz[0]);
        else if (DxfScanner::wordIs(word, "20"))
            scan.scanFloat(xyz[1]);
        else if (DxfScanner::wordIs(word, "30"))
            scan.scanFloat(xyz[2]);
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
    std::string bytes;
    KelpIo::readRemaining(file.get(), bytes);

    // The scanner takes white space and the decimal point from the locale
    // switched to above, as the stdio scan would.
    DxfScanner scan(bytes.data(), bytes.data() + bytes.size());
    std::string_view word;
    for (const char* expected : {"0", "SECTION", "2"}) {
        // The section's name (the fourth word) is not looked at. Format
        // failures leave the locale switched.
        const bool read = scan.nextWord(word);
        if (!read || !DxfScanner::wordIs(word, expected)) return KelpPointCloud::failDxfHeader(read, word, expected, scan.offset());
    }
    do {
        if (!scan.nextWord(word)) return KelpRecord::fail(KelpRecord::Code::DxfNoEntities, {}, bytes.size());
    } while (!DxfScanner::wordIs(word, "ENTITIES"));

    // Kept across points: a point without a "20" takes the y of the one before.
    float xyz[3] = {0.0f, 0.0f, 0.0f};
    // The end of the file ends the scan as "ENDSEC" would, also inside a point.
    while (scan.nextWord(word) && !DxfScanner::wordIs(word, "ENDSEC")) {
        if (DxfScanner::wordIs(word, "POINT") && !readPoint(scan, xyz, *cloud)) break;
    }
    if (!DxfScanner::wordIs(word, "ENDSEC")) KelpRecord::note(KelpRecord::Code::DxfNoEndsec);
    file.reset();
    KelpFrame::switchToCLocale();
    return true;
}

}  // namespace KelpGraphic
