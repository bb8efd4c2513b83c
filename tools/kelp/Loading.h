// Reading a file with the reader of its format into the container that the
// reader takes.
#pragma once

#include "CallReport.h"
#include "FormatTable.h"
#include "Summary.h"

namespace KelpTool {

struct Loaded {
    const Format* format = nullptr;
    bool ok = false;
    double seconds = 0.0;
    CallReport report;  // the library's report of the read
    KelpCore::KelpTriMesh mesh;     // filled by mesh formats
    KelpCore::KelpPointSet points;  // filled by point formats

    bool isMesh() const { return format->container == Container::Mesh; }
    Summary summary(const std::string& path) const;
};

// Reads `path` with `format`'s reader into a fresh container, timing the call.
void load(const std::string& path, const Format& format, Loaded& loaded);

}  // namespace KelpTool
