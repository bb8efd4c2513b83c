// The process-wide state behind the report: raw records made during a call,
// and the public view formatted from them when it is asked for.
#pragma once

#include <KelpReport.h>

#include "report/ReportCodes.h"

#include <cstdint>
#include <string>

namespace KelpRecord {

struct RawRecord {
    Code code = Code::None;
    std::uint64_t a = 0, b = 0, c = 0, d = 0;
    unsigned count = 0;
    std::string text;  // its capacity is kept from call to call
};

struct RecordState {
    static constexpr unsigned kMaxNotes = 16;

    std::string function;
    std::string path;
    int result = -2;
    RawRecord reason;
    RawRecord notes[kMaxNotes];
    unsigned noteCount = 0;

    // The public view, built by KelpLastReport from the records above.
    std::string reasonText;
    std::string noteTexts[kMaxNotes];
    KelpGraphic::KelpReportNote publicNotes[kMaxNotes] = {};
    KelpGraphic::KelpReport view = {};
};

RecordState& recordState();

// The message of `record`: its row's template with the placeholders filled.
std::string formatRecord(const RawRecord& record);

}  // namespace KelpRecord
