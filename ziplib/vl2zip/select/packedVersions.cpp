#include "ziplib/vl2zip/select/packedVersions.h"

#include <algorithm>
#include <array>
#include <functional>
#include <new>
#include <utility>

namespace ziplib {

namespace {

constexpr std::size_t kFewest = 16; // slots
constexpr int kCrcBytes = 4;

// Flags: `written` in the lowest two bits, and these.
constexpr std::uint64_t kWrittenMask = 3;
constexpr std::uint64_t kTimesTell = 4;
constexpr std::uint64_t kUnknownSize = 8;

} // namespace

platform::RecordReader PackedVersions::readerAt(std::uint32_t number) const {
    return platform::RecordReader(std::string_view(m_out.bytes()).substr(number));
}

PackedVersions::Path PackedVersions::readPath(std::uint32_t number,
                                              platform::RecordReader &in) const {
    Path path;
    if (const std::uint64_t distance = in.number(); distance != 0) {
        const auto whole = static_cast<std::uint32_t>(number - distance);
        platform::RecordReader other = readerAt(whole);
        path.start = readPath(whole, other).rest.substr(0, static_cast<std::size_t>(in.number()));
    }
    path.rest = in.text(in.number());
    return path;
}

std::string PackedVersions::path(std::uint32_t number) const {
    platform::RecordReader in = readerAt(number);
    const Path path = readPath(number, in);
    return std::string(path.start).append(path.rest);
}

// The slot of this path, or the free one for it.
std::size_t PackedVersions::slotOf(std::string_view path) const {
    const std::size_t mask = m_slots.size() - 1;
    std::size_t slot = std::hash<std::string_view>()(path) & mask;
    const auto isOther = [&](std::uint32_t number) {
        platform::RecordReader in = readerAt(number);
        return !(readPath(number, in) == path);
    };
    while (m_slots[slot] != kNoVersion && isOther(m_slots[slot]))
        slot = (slot + 1) & mask;
    return slot;
}

void PackedVersions::grow() {
    std::vector<std::uint32_t> old(std::max(kFewest, 2 * m_slots.size()), kNoVersion);
    m_slots.swap(old);
    for (const std::uint32_t number : old)
        if (number != kNoVersion)
            m_slots[slotOf(path(number))] = number;
}

std::uint64_t PackedVersions::indexOfDevice(std::uint64_t device) {
    const auto found = std::find(m_devices.begin(), m_devices.end(), device);
    const auto index = static_cast<std::uint64_t>(found - m_devices.begin());
    if (found == m_devices.end())
        m_devices.push_back(device);
    return index;
}

void PackedVersions::add(std::string_view path, const BaseVersion &version) {
    if (2 * (m_count + 1) > m_slots.size())
        grow();
    std::uint32_t &slot = m_slots[slotOf(path)];
    const std::int32_t written =
        slot == kNoVersion ? version.written : std::max(version.written, at(slot).written);
    const std::size_t number = m_out.bytes().size();
    if (number + path.size() >= kNoVersion)
        throw std::bad_alloc();
    std::size_t shared = 0;
    if (m_whole != kNoVersion) {
        platform::RecordReader whole = readerAt(m_whole);
        shared = platform::sharedLength(readPath(m_whole, whole).rest, path);
    }
    if (2 * shared < path.size() || m_whole == kNoVersion) {
        shared = 0;
        m_whole = static_cast<std::uint32_t>(number);
        m_out.number(0);
    } else {
        m_out.number(number - m_whole);
        m_out.number(shared);
    }
    m_out.number(path.size() - shared);
    m_out.text(path.substr(shared));
    m_out.number(static_cast<std::uint64_t>(written) | (version.timesTell ? kTimesTell : 0) |
                 (version.size == BaseVersion::kUnknownSize ? kUnknownSize : 0));
    m_out.fixed(version.crc, kCrcBytes);
    if (version.size != BaseVersion::kUnknownSize)
        m_out.number(version.size);
    if (version.timesTell) {
        const auto modified = static_cast<std::uint64_t>(version.modified);
        const auto changed = static_cast<std::uint64_t>(version.changed);
        if (m_devices.empty()) {
            m_modified = modified;
            m_changed = changed;
        }
        m_out.number(indexOfDevice(version.device));
        m_out.number(version.id);
        m_out.step(modified, m_modified);
        m_out.step(changed, m_changed);
    }
    m_count += slot == kNoVersion ? 1 : 0;
    slot = static_cast<std::uint32_t>(number);
}

std::uint32_t PackedVersions::find(std::string_view path) const {
    return empty() ? kNoVersion : m_slots[slotOf(path)];
}

BaseVersion PackedVersions::at(std::uint32_t number) const {
    platform::RecordReader in = readerAt(number);
    readPath(number, in);
    BaseVersion version;
    const std::uint64_t flags = in.number();
    version.written = static_cast<std::int32_t>(flags & kWrittenMask);
    version.timesTell = (flags & kTimesTell) != 0;
    version.crc = static_cast<std::uint32_t>(in.fixed(kCrcBytes));
    version.size = (flags & kUnknownSize) != 0 ? BaseVersion::kUnknownSize : in.number();
    if (version.timesTell) {
        version.device = m_devices[static_cast<std::size_t>(in.number())];
        version.id = in.number();
        version.modified = static_cast<std::int64_t>(in.step(m_modified));
        version.changed = static_cast<std::int64_t>(in.step(m_changed));
    }
    return version;
}

void PackedVersions::each(const std::function<void(std::uint32_t number)> &take) const {
    for (const std::uint32_t number : m_slots)
        if (number != kNoVersion)
            take(number);
}

} // namespace ziplib
