// kelp_read_times <reader> <file> [label]: reads the file once with one of the
// library's readers (the names of kelp_peak: kelp-asc, kelp-dxf, kelp-stl,
// kelp-wrl, kelp-obj, kelp-ply, kelp-3ds) and prints one JSON line with the
// process CPU time of that read and what it read. Only the public API is used,
// so that the same source builds against any version of the library:
// bench/baseline/run builds it against an earlier one and the current one and
// alternates the two.
#include "support/KelpReads.h"

#include <cstdio>
#include <ctime>
#include <string>

namespace {

double cpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "usage: kelp_read_times <reader> <file> [label]\n");
        return 2;
    }
    const std::string reader = argv[1];
    const char* path = argv[2];
    const char* label = argc == 4 ? argv[3] : "";
    KelpBench::ReadOutcome outcome;
    const double start = cpuSeconds();
    if (!KelpBench::readWithKelp(reader, path, outcome)) {
        std::fprintf(stderr, "kelp_read_times: unknown reader %s\n", reader.c_str());
        return 2;
    }
    const double seconds = cpuSeconds() - start;
    std::fflush(stdout);  // after the readers' own progress lines
    std::printf("{\"label\": \"%s\", \"reader\": \"%s\", \"file\": \"%s\", \"ok\": %s, \"cpu_seconds\": %.6f, "
                "\"vertices\": %llu, \"triangles\": %llu}\n",
                label, reader.c_str(), path, outcome.ok ? "true" : "false", seconds,
                static_cast<unsigned long long>(outcome.vertices), static_cast<unsigned long long>(outcome.triangles));
    return outcome.ok ? 0 : 1;
}
