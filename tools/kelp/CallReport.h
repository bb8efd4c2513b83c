// The library's report of the last call (KelpLastReport), copied into the
// tool's own types right after the call, and its two printed forms.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace KelpTool {

struct CallReport {
    struct Note {
        int code = 0;
        std::string name, text;
        unsigned count = 0;
    };
    int reasonCode = 0;  // 0 unless the call failed
    std::string reasonName, reason;
    std::vector<Note> notes;

    bool clean() const { return reasonCode == 0 && notes.empty(); }
};

// Copies the report of the call that just returned.
CallReport takeLastReport();

// {"reason":null|{"code","name","message"},"notes":[{"code","name","text","count"}]}
std::string reportJson(const CallReport& report);

// "<path>: <name>: <text>" lines, the reason first; a note that fired more
// than once ends with " (N times)".
void printReportLines(std::FILE* out, const std::string& path, const CallReport& report);

}  // namespace KelpTool
