#include "LibraryCalls.h"

#include <KelpFileIO.h>

#include <pybind11/pybind11.h>

#include <clocale>
#include <mutex>

namespace KelpPython {

namespace {

std::mutex libraryMutex;

// The caller's locale, as setlocale reports it (a composite name when the
// categories differ), put back on every way out of a call.
class LocaleRestore {
public:
    LocaleRestore() {
        const char* current = std::setlocale(LC_ALL, nullptr);
        if (current) saved_ = current;
    }
    ~LocaleRestore() {
        if (!saved_.empty()) std::setlocale(LC_ALL, saved_.c_str());
    }
    LocaleRestore(const LocaleRestore&) = delete;
    LocaleRestore& operator=(const LocaleRestore&) = delete;

private:
    std::string saved_;
};

// Collects the progress lines while one call runs; outside the binding's
// calls they go to standard output as usual.
class ProgressCapture {
public:
    explicit ProgressCapture(std::vector<std::string>& lines) {
        KelpGraphic::KelpSetProgressSink(
            [](const char* line, void* context) { static_cast<std::vector<std::string>*>(context)->emplace_back(line); },
            &lines);
    }
    ~ProgressCapture() { KelpGraphic::KelpSetProgressSink(nullptr, nullptr); }
    ProgressCapture(const ProgressCapture&) = delete;
    ProgressCapture& operator=(const ProgressCapture&) = delete;
};

// The one place that asks the library why the call just made failed and
// which kept behaviours fired. The report is replaced by the next call, so it
// is copied here, still under the lock.
void collectReport(CallOutcome& outcome) {
    const KelpGraphic::KelpReport& report = *KelpGraphic::KelpLastReport();
    if (report.result == 0 && report.reason[0] != '\0') outcome.reason = report.reason;
    for (unsigned i = 0; i < report.noteCount; ++i) {
        const KelpGraphic::KelpReportNote& note = report.notes[i];
        std::string line = std::string(note.name) + ": " + note.text;
        if (note.count > 1) line += " (" + std::to_string(note.count) + " times)";
        outcome.notes.push_back(std::move(line));
    }
}

}  // namespace

CallOutcome runSerialised(const std::function<bool()>& call) {
    CallOutcome outcome;
    pybind11::gil_scoped_release released;
    std::lock_guard<std::mutex> lock(libraryMutex);
    LocaleRestore locale;
    ProgressCapture capture(outcome.progress);
    outcome.ok = call();
    collectReport(outcome);
    return outcome;
}

}  // namespace KelpPython
