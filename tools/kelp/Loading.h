// Reading a file with the reader of its format into the container that the
// reader takes.
#pragma once

#include "CallReport.h"
#include "FormatTable.h"
#include "Summary.h"

#include <string>

namespace KelpTool {

struct Loaded {
    const Format* format = nullptr;
    bool ok = false;
    std::string thrown;  // what the reader threw, if it threw; it then counts as failed
    double seconds = 0.0;
    CallReport report;  // the library's report of the read
    KelpCore::KelpTriMesh mesh;     // filled by mesh formats
    KelpCore::KelpPointSet points;  // filled by point formats

    bool isMesh() const { return format->container == Container::Mesh; }
    // Why the read failed: what the reader threw, else the report's reason.
    const std::string& failureReason() const { return thrown.empty() ? report.reason : thrown; }
    Summary summary(const std::string& path) const;
};

// Reads `path` with `format`'s reader into a fresh container, timing the call.
// Some readers let a failed allocation through (an STL header may announce
// billions of triangles): that is caught, the file counts as failed with the
// reason in `thrown`, and the container is left empty.
void load(const std::string& path, const Format& format, Loaded& loaded);

// "kelp: the <format> reader failed on <path>: <reason>" on standard error.
void reportReadFailure(const std::string& path, const Loaded& loaded);

// The text of the exception being handled; call only inside a catch block.
std::string currentExceptionText();

}  // namespace KelpTool
