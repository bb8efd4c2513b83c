// Benchmark inputs are generated once per process into a scratch directory
// (KELP_BENCH_DIR, or the system's temporary directory).
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace KelpBench {

inline std::filesystem::path scratchDir() {
    const char* configured = std::getenv("KELP_BENCH_DIR");
    std::filesystem::path dir = configured && *configured ? std::filesystem::path(configured)
                                                          : std::filesystem::temp_directory_path() / "kelp-bench";
    std::filesystem::create_directories(dir);
    return dir;
}

inline std::string scratchFile(const std::string& name) { return (scratchDir() / name).string(); }

inline std::uintmax_t fileSize(const std::string& path) { return std::filesystem::file_size(path); }

// The floor for every reader: the file's bytes read into memory, nothing else.
inline std::size_t readAllBytes(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return 0;
    std::vector<char> buffer(1 << 20);
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(fileSize(path)));
    for (;;) {
        const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), file);
        bytes.append(buffer.data(), got);
        if (got < buffer.size()) break;
    }
    std::fclose(file);
    benchmark::DoNotOptimize(bytes.data());
    return bytes.size();
}

// Reports bytes per second for a run over `path`.
inline void setFileThroughput(benchmark::State& state, const std::string& path) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(fileSize(path)));
}

}  // namespace KelpBench
