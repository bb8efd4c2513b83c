#include "Commands.h"
#include "FormatTable.h"
#include "Loading.h"
#include "Report.h"

#include <unistd.h>

#include <cstdio>
#include <memory>

namespace KelpTool {

namespace {
const Format* chooseFormat(const std::string& path, const std::string& forced) {
    const Format* format = forced.empty() ? formatForPath(path) : formatByName(forced);
    if (!format) {
        if (forced.empty())
            std::fprintf(stderr, "kelp: %s: unknown file extension; use --format (one of: %s)\n", path.c_str(),
                         formatNames().c_str());
        else
            std::fprintf(stderr, "kelp: unknown format '%s' (one of: %s)\n", forced.c_str(), formatNames().c_str());
    }
    return format;
}
}  // namespace

int runInfo(const InfoOptions& options) {
    std::vector<const Format*> chosen;
    for (const auto& path : options.files) {
        const Format* format = chooseFormat(path, options.format);
        if (!format) return kUsageError;
        chosen.push_back(format);
    }

    const bool progress = options.files.size() > 1 && !options.quiet && isatty(STDERR_FILENO);
    int status = kSuccess;
    std::vector<Summary> summaries;
    for (std::size_t i = 0; i < options.files.size(); ++i) {
        const std::string& path = options.files[i];
        if (progress) std::fprintf(stderr, "\r[%zu/%zu] %s\033[K", i + 1, options.files.size(), path.c_str());
        // Meshes can be large: one at a time, released before the next file.
        auto loaded = std::make_unique<Loaded>();
        load(path, *chosen[i], *loaded);
        if (!loaded->ok) {
            reportReadFailure(path, *loaded);
            status = kFileFailed;
        }
        Summary summary = loaded->summary(path);
        if (options.json && !options.quiet) {
            printJson(stdout, summary);
            std::fflush(stdout);
        }
        summaries.push_back(std::move(summary));
    }
    if (progress) std::fprintf(stderr, "\r\033[K");
    if (!options.json && !options.quiet) {
        printTable(stdout, summaries);
        if (options.explain)
            for (const Summary& s : summaries) printReportLines(stdout, s.path, s.report);
    }
    return status;
}

}  // namespace KelpTool
