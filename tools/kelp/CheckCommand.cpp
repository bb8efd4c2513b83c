// kelp check: reads every file and tells which ones the library would read
// differently from what they say: a failure, or a kept behaviour that changed
// the result. One line per reason or note; clean files print nothing.
#include "CallReport.h"
#include "Commands.h"
#include "FormatTable.h"
#include "Loading.h"

#include <cstdio>
#include <memory>

namespace KelpTool {

int runCheck(const CheckOptions& options) {
    std::size_t failed = 0, noted = 0;
    for (const std::string& path : options.files) {
        const Format* format = options.format.empty() ? formatForPath(path) : formatByName(options.format);
        if (!format) {
            if (!options.format.empty()) {
                std::fprintf(stderr, "kelp: unknown format '%s' (one of: %s)\n", options.format.c_str(),
                             formatNames().c_str());
                return kUsageError;
            }
            // Side files (textures, material libraries) sit beside the models.
            std::printf("%s: skipped: unknown file extension\n", path.c_str());
            continue;
        }
        auto loaded = std::make_unique<Loaded>();
        load(path, *format, *loaded);
        if (!loaded->ok)
            ++failed;
        else if (!loaded->report.clean())
            ++noted;
        printReportLines(stdout, path, loaded->report);
    }
    std::fflush(stdout);
    if (!options.quiet)
        std::fprintf(stderr, "kelp check: %zu files, %zu failed, %zu read with notes\n", options.files.size(), failed,
                     noted);
    return failed + noted == 0 ? kSuccess : kFileFailed;
}

}  // namespace KelpTool
