#pragma once

#include "ziplib/format/directory.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ziplib {

// Checks an entry's local file header against the directory: Damaged if they disagree about name,
// method, encryption, sizes or CRC, EndsEarly if the file is too short. `bytes` are the first `got`
// bytes from entry.localOffset on; if these are too few, the header is read. Sets `headSize` to the
// size of the header.
platform::Status checkLocal(const platform::InputFile &file, const Directory &directory,
                            const Entry &entry, const std::uint8_t *bytes, std::size_t got,
                            std::size_t &headSize);

// Reads and checks the local file header. Sets `dataOffset` to the offset of the compressed data in
// the file.
platform::Status locateData(const platform::InputFile &file, const Directory &directory,
                            const Entry &entry, std::uint64_t &dataOffset);

// The indices of the entries, sorted by the offsets of their local headers; entries with the same
// offset stay in stored order.
std::vector<std::uint32_t> orderByOffset(const Directory &directory);

// Finds the entries that share bytes with others or with the directory, in one pass. Gaps between
// entries, and entries in another order than their records, are allowed. An entry without a
// matching local header does not count against others.
class Extents {
  public:
    Extents(const platform::InputFile &file, const Directory &directory);

    // True if the entry, by index, overlaps another or the directory.
    bool overlaps(std::size_t index) const { return m_limits[index] == 0; }
    // Offset of what follows the entry in the file: its data must end before.
    std::uint64_t limit(std::size_t index) const { return m_limits[index]; }

  private:
    bool findOverlaps(const Directory &directory, std::vector<std::uint32_t> &order);

    std::vector<std::uint64_t> m_limits;
};

} // namespace ziplib
