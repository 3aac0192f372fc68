#include "ziplib/vl2zip/write/layout.h"

#include "ziplib/format/bytes.h"
#include "ziplib/format/localHeader.h"
#include "ziplib/format/records.h"

#include <algorithm>
#include <string>

namespace ziplib {

namespace {

Status damaged(const platform::InputFile &archive, const Directory &directory, const Entry &entry) {
    return {Failure::Damaged, archive.path() + ": damaged, the data of " + directory.path(entry) +
                                  " cannot be found; the archive was left as it is"};
}

// Bytes from the start of an entry's local header to the end of its data; 0 if there is no local
// header. Such damage is kept unchanged like any other.
std::uint64_t readExtent(const platform::InputFile &archive, const Entry &entry) {
    std::uint8_t header[kLocalSize];
    std::size_t got = 0;
    if (!archive.readAt(entry.localOffset, header, sizeof header, got).ok() ||
        got != sizeof header || get32(header) != kLocalSignature)
        return 0;
    const std::uint64_t length = localHeaderSize(header);
    return length + std::min(entry.compressedSize, UINT64_MAX - length);
}

} // namespace

Status Layout::make(const platform::InputFile &archive, const Directory &directory,
                    const std::vector<bool> &kept, const std::function<void()> &idle) {
    const Directory::Entries entries = directory.entries();
    const std::vector<std::uint32_t> order = orderByOffset(directory);
    m_segmentOf.assign(entries.size(), 0);
    m_leading = entries.empty() ? directory.start()
                                : std::min(entries[order.front()].localOffset, directory.start());
    m_segments.clear();
    m_segments.reserve(entries.size());
    m_coveredTo = 0;
    m_end = directory.start();
    for (const std::uint32_t index : order) {
        idle();
        const Entry entry = entries[index];
        const std::uint64_t offset = entry.localOffset;
        if (offset >= directory.start())
            return damaged(archive, directory, entry);
        if (m_segments.empty() || m_segments.back().start != offset)
            m_segments.push_back({offset});
        m_segmentOf[index] = static_cast<std::uint32_t>(m_segments.size() - 1);
        if (kept[index])
            m_segments.back().keep();
    }
    // In file order, as cover() requires for overlaps.
    for (const std::uint32_t index : order) {
        idle();
        if (kept[index]) {
            if (auto covered = cover(archive, directory, index); !covered.ok())
                return covered;
        }
    }
    return {};
}

// Marks all segments that contain bytes of a kept entry as kept.
Status Layout::cover(const platform::InputFile &archive, const Directory &directory,
                     std::size_t index) {
    const Entry entry = directory.entries()[index];
    const std::size_t segment = m_segmentOf[index];
    const bool last = segment + 1 == m_segments.size();
    std::uint64_t needed = kLocalSize + entry.nameLength;
    needed += std::min(entry.compressedSize, UINT64_MAX - needed);
    // Only the local header has its own length. It is read only if the next segment is not kept, or
    // if the entry is larger than its segment.
    if (last || !m_segments[segment + 1].kept() || needed > length(segment))
        needed = std::max(needed, readExtent(archive, entry));
    if (needed <= length(segment))
        return {};
    if (needed > directory.start() - entry.localOffset)
        return damaged(archive, directory, entry);
    const auto behind = std::lower_bound(
        m_segments.begin(), m_segments.end(), entry.localOffset + needed,
        [](const Segment &candidate, std::uint64_t end) { return candidate.start < end; });
    const auto end = static_cast<std::size_t>(behind - m_segments.begin());
    for (std::size_t i = std::max(segment + 1, m_coveredTo); i < end; ++i)
        m_segments[i].keep();
    m_coveredTo = std::max(m_coveredTo, end);
    return {};
}

} // namespace ziplib
