// The line of a byte in a text file that a reader streams rather than holds.
#pragma once

#include <cstdint>
#include <cstdio>

namespace KelpRecord {

// The 1-based line of byte `offset` of `file`, counted by reading the file
// again from its start; the file's position is restored, so a reader in the
// middle of its pass goes on where it was. 0 where the file cannot be read
// again (a pipe). It costs one read of the file up to `offset`: the readers
// ask it once per code and call, on the path where a note first fires.
std::uint64_t lineOfByte(std::FILE* file, std::uint64_t offset);

}  // namespace KelpRecord
