#include "obj/ObjReport.h"

#include "report/Recorder.h"

namespace KelpObj {

using KelpRecord::Code;

void noteStaleNumber(std::FILE* file, std::uint64_t offset, const char* statement) {
    // Once the last statement has run again nothing is left to read: its
    // numbers all fail, and that note already says so.
    if (KelpRecord::noted(Code::ObjRepeatedStatement)) return;
    KelpRecord::noteAt(Code::ObjStaleNumber, file, offset, statement);
}

void noteStaleIndices(std::FILE* file, std::uint64_t offset, unsigned count) {
    KelpRecord::noteAt(Code::ObjStaleIndex, file, offset, {}, count);
}

void noteIfLineGoesOn(KelpScan::ScanSource& source, std::FILE* file, char last) {
    // A line of exactly 2047 bytes before its line feed is whole: only the
    // line feed is left for the next read.
    if (last == '\n' || !source.ensure(1) || *source.next() == '\n') return;
    KelpRecord::noteAt(Code::ObjLongLine, file, source.offset());
}

}  // namespace KelpObj
