// DXF POINT reading. The drawing is not parsed as group-code/value pairs: it
// is a stream of white-space-separated words, and a handful of words act
// wherever they occur. The file is streamed through the scanning core with
// the results of the classic fscanf("%250s") / fscanf("%f") loop.
#include "pointcloud/PointCloudReaders.h"
#include "pointcloud/PointCloudReport.h"
#include "pointcloud/PointSizing.h"
#include "report/Recorder.h"
#include "scan/ScanCursor.h"

#include <cstring>
#include <string>

namespace KelpPointCloud {

namespace {
// Words are read with "%250s": a longer run of non-space bytes comes in
// pieces of this length.
constexpr std::size_t kWordLimit = 250;

// The word as the C string "%s" stores: the comparison stops at an embedded
// zero byte.
bool wordIs(const std::string& word, const char* keyword) { return std::strcmp(word.c_str(), keyword) == 0; }

// A word as the scanning core shows it where it lies, compared as wordIs does.
struct Word {
    const char* text = nullptr;
    std::size_t length = 0;

    bool read(KelpScan::ScanCursor& scan) { return scan.readWordWidth(text, length, kWordLimit); }
    template <std::size_t N>
    bool is(const char (&keyword)[N]) const {
        constexpr std::size_t n = N - 1;
        return (length == n || (length > n && text[n] == '\0')) && std::memcmp(text, keyword, n) == 0;
    }
};

// The value of group "10", "20" or "30" (`axis` 0 to 2), marked in `seen`. A
// value that is no number leaves the coordinate as it was and stays to be
// read as the next word.
void readCoordinate(KelpScan::ScanCursor& scan, float (&xyz)[3], int axis, unsigned& seen, std::FILE* file) {
    seen |= 1u << axis;
    if (!scan.readFloat(xyz[axis]) && !scan.eof()) noteDxfStaleCoordinate(file, scan.source().offset(), axis);
}

// The words after "POINT" up to the "0" that ends it. Any word "0" ends the
// point, a layer value "0" before the coordinates included: the point then
// repeats the coordinates of the one before, and its own are passed over by
// the entity scan. False when the file ends first (nothing is appended).
// `endsec` tells whether the last word read was "ENDSEC" (a file that ends
// inside a point after that word has still ended its section).
bool readPoint(KelpScan::ScanCursor& scan, float (&xyz)[3], KelpCore::KelpPointSet& cloud, bool& endsec,
               std::FILE* file) {
    Word word;
    // The coordinate groups read in this point, a bit each.
    unsigned seen = 0;
    while (word.read(scan)) {
        endsec = false;
        if (word.is("0")) {
            if (seen != 7) noteDxfPointEnding(file, scan.source().offset(), seen);
            cloud.addVertex({xyz[0], xyz[1], xyz[2]});
            return true;
        }
        if (word.is("10"))
            readCoordinate(scan, xyz, 0, seen, file);
        else if (word.is("20"))
            readCoordinate(scan, xyz, 1, seen, file);
        else if (word.is("30"))
            readCoordinate(scan, xyz, 2, seen, file);
        else
            endsec = word.is("ENDSEC");
    }
    return false;
}
}  // namespace

bool readDxfPoints(std::FILE* file, KelpCore::KelpPointSet& cloud) {
    // White space and the decimal point come from the locale in force (the
    // reader's), as the stdio scan would take them.
    KelpScan::ScanSource source(file);
    KelpScan::ScanCursor scan(source, KelpScan::ScanLocale::current());
    std::string word;
    word.reserve(kWordLimit);
    for (const char* expected : {"0", "SECTION", "2"}) {
        // The section's name (the fourth word) is not looked at.
        const bool read = scan.readWordWidth(word, kWordLimit);
        if (!read || !wordIs(word, expected))
            return failDxfHeader(read, word, expected, source.offset());
    }
    Word next;
    do {
        if (!next.read(scan)) return KelpRecord::fail(KelpRecord::Code::DxfNoEntities, {}, source.offset());
    } while (!next.is("ENTITIES"));

    // Kept across points: a point without a "20" takes the y of the one before.
    float xyz[3] = {0.0f, 0.0f, 0.0f};
    // The end of the file ends the scan as "ENDSEC" would, also inside a point.
    bool endsec = false;
    PointSizing sizing(file, source.offset());
    while (next.read(scan) && !(endsec = next.is("ENDSEC"))) {
        if (!next.is("POINT")) continue;
        if (!readPoint(scan, xyz, cloud, endsec, file)) break;
        sizing.afterPoint(source.offset(), cloud);
    }
    if (!endsec) KelpRecord::note(KelpRecord::Code::DxfNoEndsec);
    return true;
}

}  // namespace KelpPointCloud
