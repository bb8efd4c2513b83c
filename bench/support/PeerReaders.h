// The peer readers of ../shared/peers (fast_obj, rapidobj, miniply), compiled
// into the benchmark programs only, never into the library, its tools or its
// tests. Where the folder was absent at configure time every call returns a
// result with `available` false, and the report says the peers were skipped.
#pragma once

#include <cstdint>
#include <string>

namespace KelpBench {

struct PeerResult {
    bool available = false;
    bool ok = false;
    std::uint64_t vertices = 0;
    std::uint64_t triangles = 0;  // faces as the peer counts them
    std::uint64_t arrayBytes = 0;  // the bytes of the arrays it hands back
};

bool peersAvailable();
PeerResult readFastObj(const std::string& path);
// rapidobj as its users run it: its own worker threads.
PeerResult readRapidObj(const std::string& path);
// Positions and triangle indices of a PLY file.
PeerResult readMiniply(const std::string& path);

}  // namespace KelpBench
