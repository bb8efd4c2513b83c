// What the PLY importer tells the call report: when an import ends, the
// reason of its failure from the importer's code and the reader object's
// state, and the byte-order rules that applied to the file's values.
#pragma once

#include "ply/PlyFile.h"
#include "ply/PlyImport.h"

namespace KelpPly {

class PlyReportScope {
public:
    PlyReportScope(const PlyFile& ply, const PlyImportResult& result) : ply_(ply), result_(result) {}
    ~PlyReportScope();
    PlyReportScope(const PlyReportScope&) = delete;
    PlyReportScope& operator=(const PlyReportScope&) = delete;

private:
    void report() const;

    const PlyFile& ply_;
    const PlyImportResult& result_;
};

}  // namespace KelpPly
