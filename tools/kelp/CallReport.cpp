#include "CallReport.h"

#include "Json.h"

#include <KelpFileIO.h>

namespace KelpTool {

CallReport takeLastReport() {
    const KelpGraphic::KelpReport* last = KelpGraphic::KelpLastReport();
    CallReport report;
    report.reasonCode = last->reasonCode;
    report.reasonName = last->reasonName;
    report.reason = last->reason;
    for (unsigned i = 0; i < last->noteCount; ++i) {
        const KelpGraphic::KelpReportNote& note = last->notes[i];
        report.notes.push_back({note.code, note.name, note.text, note.count});
    }
    return report;
}

std::string reportJson(const CallReport& report) {
    std::string json = "{\"reason\":";
    json += report.reasonCode == 0 ? std::string("null")
                                   : "{\"code\":" + std::to_string(report.reasonCode) +
                                         ",\"name\":" + jsonString(report.reasonName) +
                                         ",\"message\":" + jsonString(report.reason) + "}";
    json += ",\"notes\":[";
    for (std::size_t i = 0; i < report.notes.size(); ++i) {
        const CallReport::Note& note = report.notes[i];
        json += (i ? ",{\"code\":" : "{\"code\":") + std::to_string(note.code) + ",\"name\":" + jsonString(note.name) +
                ",\"text\":" + jsonString(note.text) + ",\"count\":" + std::to_string(note.count) + "}";
    }
    return json + "]}";
}

void printReportLines(std::FILE* out, const std::string& path, const CallReport& report) {
    if (report.reasonCode != 0)
        std::fprintf(out, "%s: %s: %s\n", path.c_str(), report.reasonName.c_str(), report.reason.c_str());
    for (const CallReport::Note& note : report.notes) {
        std::fprintf(out, "%s: %s: %s", path.c_str(), note.name.c_str(), note.text.c_str());
        if (note.count > 1) std::fprintf(out, " (%u times)", note.count);
        std::fputc('\n', out);
    }
}

}  // namespace KelpTool
