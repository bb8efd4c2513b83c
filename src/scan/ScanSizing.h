// The estimate by which readers size an array ahead from the part of a file
// they have read: grown by half at a time, a large array is copied whole at
// every step, old and new blocks resident together, and each new block's
// pages are faulted in again. Reserved once from the density so far, it is
// not; untouched reserve is address space, not memory, and the array's
// contents do not depend on it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace KelpScan {

// Elements seen before their density is trusted; until then an array grows
// as usual.
inline constexpr std::size_t kSizingSample = 4096;

// What a list of `count` elements, `seen` of them in the last `seenBytes`
// bytes, holds at the end of the `remaining` bytes still to come at that
// density, plus a quarter; never more than one element per `leastBytes`
// bytes of the rest, so that a dense first stretch cannot reserve out of
// proportion to the file.
inline std::size_t expectedCount(std::size_t count, std::size_t seen, std::uint64_t seenBytes,
                                 std::uint64_t remaining, double leastBytes) {
    const double perByte = static_cast<double>(seen) / static_cast<double>(seenBytes);
    const double expected = static_cast<double>(count) + static_cast<double>(remaining) * perByte * 1.25;
    const double ceiling = static_cast<double>(count) + static_cast<double>(remaining) / leastBytes;
    return static_cast<std::size_t>(expected < ceiling ? expected : ceiling);
}

}  // namespace KelpScan
