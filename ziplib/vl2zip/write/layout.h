#pragma once

#include "ziplib/common/returnCode.h"
#include "ziplib/format/directory.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace ziplib {

// The layout of the kept bytes of the old archive in the new one. The old archive is divided into
// segments, each from the start of an entry to the start of the next entry or the directory. So
// bytes between entries are kept with the entry before them, and adjacent entries are copied
// together.
class Layout {
  public:
    struct Segment {
        static constexpr std::uint64_t kDropped = UINT64_MAX;

        std::uint64_t start = 0;
        std::uint64_t newStart = kDropped; // in the new archive; set when it is copied

        bool kept() const { return newStart != kDropped; }
        void keep() { newStart = 0; }
    };

    // `kept` says for each entry whether it is kept unchanged. Calls `idle` for each entry. Fails
    // if a kept entry's bytes exceed the old archive.
    Status make(const platform::InputFile &archive, const Directory &directory,
                const std::vector<bool> &kept, const std::function<void()> &idle);

    std::vector<Segment> &segments() { return m_segments; }
    const std::vector<Segment> &segments() const { return m_segments; }
    std::uint64_t length(std::size_t segment) const {
        const bool last = segment + 1 == m_segments.size();
        return (last ? m_end : m_segments[segment + 1].start) - m_segments[segment].start;
    }
    // The segment in which an entry, by index, starts.
    std::size_t segmentOf(std::size_t entry) const { return m_segmentOf[entry]; }
    // Bytes before the first entry.
    std::uint64_t leading() const { return m_leading; }

  private:
    Status cover(const platform::InputFile &archive, const Directory &directory, std::size_t index);

    std::vector<Segment> m_segments;
    std::vector<std::uint32_t> m_segmentOf;
    std::uint64_t m_leading = 0;
    std::uint64_t m_end = 0;     // of the last segment
    std::size_t m_coveredTo = 0; // overlapped segments before this one are marked as kept
};

} // namespace ziplib
