// KelpLastReport: the public view of the records, formatted on demand so
// that a call whose report nobody reads pays for no text.
#include <KelpReport.h>

#include "report/RecordState.h"

#include <cstdio>
#include <string>

namespace KelpRecord {

std::string formatRecord(const RawRecord& record) {
    const std::string_view message = codeInfo(record.code).message;
    std::string out;
    out.reserve(message.size() + record.text.size() + 16);
    for (std::size_t i = 0; i < message.size(); ++i) {
        if (message[i] == '{' && i + 2 < message.size() && message[i + 2] == '}') {
            const char key = message[i + 1];
            const std::uint64_t numbers[] = {record.a, record.b, record.c, record.d};
            if (key >= 'a' && key <= 'd') {
                out += std::to_string(numbers[key - 'a']);
                i += 2;
                continue;
            }
            if (key == 'l') {
                out += record.a ? "line " + std::to_string(record.a) : "byte " + std::to_string(record.b);
                i += 2;
                continue;
            }
            if (key == 'x' || key == 't') {
                if (key == 't') {
                    out += record.text;
                } else {
                    char hex[20];
                    std::snprintf(hex, sizeof hex, "%04llX", static_cast<unsigned long long>(record.a));
                    out += hex;
                }
                i += 2;
                continue;
            }
        }
        out += message[i];
    }
    return out;
}

}  // namespace KelpRecord

namespace KelpGraphic {

const KelpReport* KelpLastReport() {
    using namespace KelpRecord;
    RecordState& state = recordState();
    KelpReport& view = state.view;
    view.function = state.function.c_str();
    view.path = state.path.c_str();
    view.result = state.result;
    const Code reason = state.result == 1 ? Code::None : state.reason.code;
    view.reasonCode = static_cast<int>(reason);
    view.reasonName = codeInfo(reason).name;
    state.reasonText = reason == Code::None ? std::string() : formatRecord(state.reason);
    view.reason = state.reasonText.c_str();
    for (unsigned i = 0; i < state.noteCount; ++i) {
        state.noteTexts[i] = formatRecord(state.notes[i]);
        const CodeInfo& info = codeInfo(state.notes[i].code);
        state.publicNotes[i] = {static_cast<int>(info.code), info.name, state.noteTexts[i].c_str(), state.notes[i].count};
    }
    view.noteCount = state.noteCount;
    view.notes = state.publicNotes;
    return &view;
}

}  // namespace KelpGraphic
