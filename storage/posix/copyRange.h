#pragma once

#include <cstdint>

namespace platform {

// Shares the blocks of a range of an open file with another one, from `place` on, as far as they
// are whole. Returns how many bytes are done so: 0 where the disk cannot.
std::uint64_t shareRange(int from, std::uint64_t offset, int to, std::uint64_t place,
                         std::uint64_t size);

// Whether the system can have ranges of this file copied without moving them through this machine,
// as a file server does. Where it cannot, it copies page by page, which takes longer than to read
// and write large pieces.
bool copiesElsewhere(int file);

} // namespace platform
