// ASC reading, streamed through the scanning core with the exact results of
// the classic loop
//
//     while (!in.eof()) { getline(in, line); istringstream(line) >> x >> y >> z;
//                         cloud->addVertex({x, y, z}); if (in.fail()) break; }
//
// including its stale coordinates on unreadable lines and the extra copy of
// the last point when the file ends with a line feed. No line is held: the
// three numbers are extracted where they stand and the rest of the line is
// passed over. A line whose three values are plain numbers and whose line feed
// is in the window is taken in one pass; any other line (and the last one) is
// read again from its start value by value.
#include "pointcloud/PointSizing.h"
#include "pointcloud/PointCloudReaders.h"
#include "pointcloud/PointCloudReport.h"
#include "scan/ScanCursor.h"
#include "scan/ScanPlainPass.h"

namespace KelpPointCloud {

namespace {
// What a line of the one-pass path may span: three numbers as the writer
// spells them, with room to spare; a longer line takes the general path.
constexpr std::size_t kLineBytes = 256;
}  // namespace

void readAscPoints(std::FILE* file, KelpCore::KelpPointSet& cloud) {
    KelpScan::ScanSource source(file);
    KelpScan::ScanCursor in(source, KelpScan::ScanLocale::classic());
    // Declared once and never reset: an unreadable coordinate keeps the value
    // of the line before.
    float xyz[3] = {0.0f, 0.0f, 0.0f};
    PointSizing sizing(file);
    for (bool firstLine = true;; firstLine = false) {
        KelpScan::ScanPlainPass line(in, kLineBytes);
        float plain[3];
        if (line.extractFloat(plain[0]) && line.extractFloat(plain[1]) && line.extractFloat(plain[2]) &&
            line.skipLine()) {
            line.commit();
            cloud.addVertex({plain[0], plain[1], plain[2]});
            xyz[0] = plain[0];
            xyz[1] = plain[1];
            xyz[2] = plain[2];
            sizing.afterPoint(source.offset(), cloud);
            continue;
        }
        // getline at the end of the input extracts nothing: eof and fail,
        // with an empty line whose point is still added.
        const bool lineFailed = !source.ensure(1);
        for (float& coordinate : xyz)
            if (lineFailed || !in.extractFloat(coordinate)) {
                if (!lineFailed) noteAscStaleCoordinate(file, source.offset());
                break;
            }
        cloud.addVertex({xyz[0], xyz[1], xyz[2]});
        if (lineFailed) {
            noteAscEnding(firstLine);
            break;
        }
        // A last line without a line feed ends the loop after its point.
        if (!in.skipLine()) break;
        sizing.afterPoint(source.offset(), cloud);
    }
}

}  // namespace KelpPointCloud
