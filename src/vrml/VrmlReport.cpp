#include "vrml/VrmlReport.h"

#include "report/Recorder.h"
#include "vrml/VrmlKeywords.h"

#include <cstdint>
#include <cstring>
#include <string>

namespace KelpVrml {

using KelpRecord::Code;

namespace {
// The texts are made on a note's first firing only; a repeat only counts.
bool counted(Code code) {
    if (!KelpRecord::noted(code)) return false;
    KelpRecord::note(code);
    return true;
}

std::uint64_t lineNumber(int line) { return line > 0 ? static_cast<std::uint64_t>(line) : 0; }
}  // namespace

void noteExponent(int line, const char* text) {
    if (counted(Code::WrlExponent)) return;
    KelpRecord::note(Code::WrlExponent, std::string(text) + "e...", lineNumber(line));
}

void noteIfLeadingZero(int line, const char* text, float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    // "00" or "0x0" read as 0 either way.
    if (bits == 0 && !std::strpbrk(text, "123456789")) return;
    if (counted(Code::WrlLeadingZero)) return;
    KelpRecord::note(Code::WrlLeadingZero, text, lineNumber(line));
}

void noteIfNotTriangles(int nodeCode, const VrmlField& field, int line) {
    if (nodeCode != kIndexedFaceSet || field.kind != kCoordIndex) return;
    for (std::size_t i = 3; i < field.ints.size(); i += 4) {
        if (field.ints[i] == -1) continue;
        if (counted(Code::WrlNotTriangles)) return;
        KelpRecord::note(Code::WrlNotTriangles, std::to_string(field.ints[i]), lineNumber(line), i + 1);
        return;
    }
}

void noteFirstNodeOnly(int line) { KelpRecord::note(Code::WrlFirstNodeOnly, {}, lineNumber(line)); }

}  // namespace KelpVrml
