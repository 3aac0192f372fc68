#pragma once

#include "ziplib/format/directory.h"

#include <cstddef>
#include <cstdint>

namespace ziplib {

// Checks an entry's local header against the directory: Damaged where they disagree about name,
// method, encryption, sizes or CRC, EndsEarly where the file ends before. `bytes` are the first
// `got` bytes from entry.localOffset on; where these are too few the rest is read. `headSize` is
// the distance from there to the data.
platform::Status checkLocal(const platform::InputFile &file, const Directory &directory,
                            const Entry &entry, const std::uint8_t *bytes, std::size_t got,
                            std::size_t &headSize);

// The same with nothing read yet; `dataOffset` is where the packed data starts in the file.
platform::Status locateData(const platform::InputFile &file, const Directory &directory,
                            const Entry &entry, std::uint64_t &dataOffset);

// Which entries share bytes with others or with the directory, found in one pass. Gaps between
// entries and entries in another order than their records are nothing unusual. An entry without a
// local header that fits it takes nothing from others.
class Extents {
  public:
    Extents(const platform::InputFile &file, const Directory &directory);

    // True where the entry, by index, lies over something else.
    bool overlaps(std::size_t index) const { return m_limits[index] == 0; }
    // Where the next thing in the file starts: the entry's data must not go further.
    std::uint64_t limit(std::size_t index) const { return m_limits[index]; }

  private:
    bool cleaner(const Directory &directory, std::vector<std::uint32_t> &order);

    std::vector<std::uint64_t> m_limits;
};

} // namespace ziplib
