#pragma once

#include "ziplib/common/returnCode.h"
#include "ziplib/format/directory.h"

#include <cstdint>
#include <vector>

namespace ziplib {

// Where the bytes of the old archive go in the new one. The old archive is seen as segments, each
// from the start of an entry to the start of the next thing in the file, so that what lies behind
// an entry's data stays with it and neighbours are copied together.
class Layout {
  public:
    struct Segment {
        std::uint64_t start = 0;
        std::uint64_t length = 0;
        bool kept = false;
        std::uint64_t place = 0; // start in the new archive, once that is known
    };

    // `kept` tells of each entry whether it stays as it is. Fails where the bytes of one that stays
    // cannot all be there.
    Status make(const platform::InputFile &archive, const Directory &directory,
                const std::vector<bool> &kept);

    std::vector<Segment> &segments() { return m_segments; }
    const std::vector<Segment> &segments() const { return m_segments; }
    // The segment that an entry, by index, starts in.
    std::size_t segmentOf(std::size_t entry) const { return m_segmentOf[entry]; }
    // Bytes before the first entry.
    std::uint64_t leading() const { return m_leading; }

  private:
    Status cover(const platform::InputFile &archive, const Directory &directory, std::size_t index);

    std::vector<Segment> m_segments;
    std::vector<std::size_t> m_segmentOf;
    std::uint64_t m_leading = 0;
    std::size_t m_coveredTo = 0; // segments before this one that overlaps reach into are kept
};

} // namespace ziplib
