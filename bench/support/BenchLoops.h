// The loops every per-format benchmark runs: the floor (the file's bytes read
// into memory, nothing else) and one of the library's readers into a fresh
// container per iteration. Both report bytes per second of the file.
#pragma once

#include "support/BenchFiles.h"

#include <string>

namespace KelpBench {

inline void runFloor(benchmark::State& state, const std::string& path) {
    for (auto _ : state) benchmark::DoNotOptimize(readAllBytes(path));
    setFileThroughput(state, path);
}

// Reads `path` with `read` every iteration; `accept(container)` says whether
// the result is what the file holds, and the run stops with an error when it
// is not (or when the reader returns false).
template <typename Container, typename Accept>
void runRead(benchmark::State& state, const std::string& path, bool (*read)(const char*, Container*),
             Accept accept) {
    for (auto _ : state) {
        Container container;
        if (!read(path.c_str(), &container) || !accept(container)) state.SkipWithError("the reader failed");
        benchmark::DoNotOptimize(container.vertices.data());
    }
    setFileThroughput(state, path);
}

template <typename Container>
void runRead(benchmark::State& state, const std::string& path, bool (*read)(const char*, Container*)) {
    runRead(state, path, read, [](const Container&) { return true; });
}

}  // namespace KelpBench
