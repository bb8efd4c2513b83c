#include "report/Recorder.h"

#include "frame/ReaderLocale.h"
#include "report/RecordState.h"
#include "report/TextPlace.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>

namespace KelpRecord {

RecordState& recordState() {
    static RecordState state;
    return state;
}

namespace {
void store(RawRecord& record, Code code, std::string_view text, std::uint64_t a, std::uint64_t b, std::uint64_t c,
           std::uint64_t d) {
    record.code = code;
    record.a = a;
    record.b = b;
    record.c = c;
    record.d = d;
    record.count = 1;
    // Recording must not change how a call ends: out of memory, the note
    // goes without its text.
    try {
        record.text.assign(text.data(), text.size());
    } catch (...) {
        record.text.clear();
    }
}

// The note of `code` made in this call, or null.
RawRecord* find(Code code) {
    RecordState& state = recordState();
    RawRecord* const end = state.notes + state.noteCount;
    RawRecord* const same = std::find_if(state.notes, end, [code](const RawRecord& r) { return r.code == code; });
    return same == end ? nullptr : same;
}

// Taken right after the failed open; a null path never reached the system.
std::string_view errnoText() {
    const int error = errno;
    if (recordState().path.empty()) return "no path";
    return error ? std::strerror(error) : "reason unknown";
}
}  // namespace

Call::Call(const char* function, const char* path, Locale locale)
    : exceptionsOnEntry_(std::uncaught_exceptions()), switchesLocale_(locale == Locale::Switched) {
    RecordState& state = recordState();
    try {
        state.function.assign(function);
        state.path.assign(path ? path : "");
    } catch (...) {
        state.path.clear();
    }
    state.result = -1;
    state.reason.code = Code::None;
    state.noteCount = 0;
}

Call::~Call() {
    RecordState& state = recordState();
    if (std::uncaught_exceptions() > exceptionsOnEntry_) {
        state.result = -1;
        fail(Code::Exception);
    } else {
        state.result = state.reason.code == Code::None ? 1 : 0;
    }
    if (switchesLocale_) {
        if (KelpFrame::readerLocaleInForce()) note(Code::LocaleLeft);
    }
}

bool fail(Code code, std::string_view text, std::uint64_t a, std::uint64_t b, std::uint64_t c, std::uint64_t d) {
    RecordState& state = recordState();
    if (state.reason.code == Code::None) store(state.reason, code, text, a, b, c, d);
    return false;
}

bool failOpen(Code code) { return fail(code, errnoText()); }

bool hasReason() { return recordState().reason.code != Code::None; }

void note(Code code, std::string_view text, std::uint64_t a, std::uint64_t b, std::uint64_t c, std::uint64_t d) {
    if (RawRecord* same = find(code)) {
        ++same->count;
        return;
    }
    RecordState& state = recordState();
    if (state.noteCount == RecordState::kMaxNotes) return;
    store(state.notes[state.noteCount], code, text, a, b, c, d);
    ++state.noteCount;
}

void noteOpen(Code code) { note(code, errnoText()); }

bool noted(Code code) { return find(code) != nullptr; }

void noteAt(Code code, std::FILE* file, std::uint64_t offset, std::string_view text, unsigned times) {
    if (times == 0) return;
    if (RawRecord* same = find(code)) {
        same->count += times;
        return;
    }
    note(code, text, lineOfByte(file, offset), offset);
    if (RawRecord* added = find(code)) added->count = times;
}

}  // namespace KelpRecord
