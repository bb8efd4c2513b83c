// KelpReport: why the last call of one of the ten functions failed, and which
// kept behaviours changed its result.
//
// After any call of the ten functions, KelpLastReport() describes that call:
// the function, the path, the result and, when it failed, a reason (a stable
// code and a one-line message naming the place in the file), followed by
// notes for the kept behaviours that fired on this file (a short binary STL
// repeating its last triangle, a texture that did not load, ...). Every code
// is listed in docs/report.md; numbers and names never change meaning.
//
// The report lives in the same process-wide state that makes the calls
// serialise; it is replaced by the next call. The functions' own results and
// output do not depend on it.
//
// Binary interface: the report is a plain C-layout struct of ints and
// `const char*` owned by the library (no std::string or std::vector crosses
// the boundary), so a host built with another compiler or standard library
// reads it safely. Later versions only append fields at the end. The pointers
// stay valid until the next call of any of the ten functions or of
// KelpLastReport().
#pragma once

#include <KelpExport.h>

namespace KelpGraphic {

// One kept behaviour that fired: `count` times, the first one described.
struct KelpReportNote {
    int code;          // stable number (docs/report.md)
    const char* name;  // stable identifier, e.g. "stl.binary.short"
    const char* text;  // one line, naming the place in the file
    unsigned count;    // how often it fired during the call (at least 1)
};

struct KelpReport {
    const char* function;    // "KelpReadStl", ...; "" before the first call
    const char* path;        // as passed; "" for a null path
    int result;              // 1 true, 0 false, -1 ended by an exception, -2 no call yet
    int reasonCode;          // 0 unless the call failed
    const char* reasonName;  // "" unless the call failed
    const char* reason;      // one line; "" unless the call failed
    unsigned noteCount;
    const KelpReportNote* notes;  // noteCount entries, in the order they first fired
};

// The report of the last call. Never null.
KELP_FILEIO_API const KelpReport* KelpLastReport();

}  // namespace KelpGraphic
