#include "ziplib/format/localHeader.h"

#include "ziplib/format/bytes.h"
#include "ziplib/format/records.h"

#include <algorithm>
#include <numeric>

namespace ziplib {

namespace {

using platform::Failure;
using platform::InputFile;
using platform::Status;

Status disagreement(const Directory &directory, const Entry &entry, const char *what) {
    std::string path = directory.path(entry);
    return {Failure::Damaged, path + " is damaged: its headers disagree about its " + what, path};
}

Status endsEarly(const Directory &directory, const Entry &entry) {
    std::string path = directory.path(entry);
    return {Failure::EndsEarly, path + " is cut off", path};
}

bool sameName(std::string_view a, std::string_view b) {
    return a.size() == b.size() &&
           std::equal(
               a.begin(), a.end(), b.begin(),
               [](char x, char y) {
                   return x == y || ((x == '/' || x == '\\') && (y == '/' || y == '\\'));
               });
}

// True if a value of a local header agrees with that of the directory. With a data descriptor after
// the data, it may be zero or the sentinel instead.
bool fits(std::uint64_t local, std::uint64_t declared, bool described) {
    return local == declared || (described && (local == 0 || local == kZip64Sentinel));
}

// `head` is the whole local header.
Status compare(const Directory &directory, const Entry &entry, const std::uint8_t *head) {
    const std::uint8_t *fields = head + kLocalCommon;
    const std::string_view all(reinterpret_cast<const char *>(head), localHeaderSize(head));
    const std::size_t nameLength = get16(fields + commonField::kNameLength);
    if (!sameName(all.substr(kLocalSize, nameLength), directory.rawName(entry)))
        return disagreement(directory, entry, "name");
    if (get16(fields + commonField::kMethod) != entry.method)
        return disagreement(directory, entry, "method");
    const std::uint16_t flags = get16(fields + commonField::kFlags);
    if (((flags ^ entry.flags) & kFlagEncrypted) != 0)
        return disagreement(directory, entry, "encryption");
    std::uint64_t size = get32(fields + commonField::kSize);
    std::uint64_t compressedSize = get32(fields + commonField::kCompressedSize);
    applyZip64(all.substr(kLocalSize + nameLength), {&size, &compressedSize});
    const bool described = ((flags | entry.flags) & kFlagDescriptor) != 0;
    if (!fits(size, entry.size, described) ||
        !fits(compressedSize, entry.compressedSize, described))
        return disagreement(directory, entry, "size");
    if (!fits(get32(fields + commonField::kCrc), entry.crc, described))
        return disagreement(directory, entry, "checksum");
    return {};
}

} // namespace

Status checkLocal(const InputFile &file, const Directory &directory, const Entry &entry,
                  const std::uint8_t *bytes, std::size_t got, std::size_t &headSize) {
    std::vector<std::uint8_t> own;
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (got >= kLocalSize && get32(bytes) != kLocalSignature)
            return disagreement(directory, entry, "location");
        if (got >= kLocalSize) {
            headSize = localHeaderSize(bytes);
            if (got >= headSize)
                return compare(directory, entry, bytes);
        }
        if (attempt == 0) {
            own.resize(kLocalSize + 2 * std::size_t{kZip64Sentinel16});
            if (Status status = file.readAt(entry.localOffset, own.data(), own.size(), got);
                !status.ok())
                return status;
            bytes = own.data();
        }
    }
    return endsEarly(directory, entry);
}

Status locateData(const InputFile &file, const Directory &directory, const Entry &entry,
                  std::uint64_t &dataOffset) {
    std::uint8_t head[512];
    std::size_t got = 0;
    if (Status status = file.readAt(entry.localOffset, head, sizeof head, got); !status.ok())
        return status;
    std::size_t headSize = 0;
    Status status = checkLocal(file, directory, entry, head, got, headSize);
    dataOffset = entry.localOffset + headSize;
    if (status.ok() && (dataOffset > directory.fileSize() ||
                        entry.compressedSize > directory.fileSize() - dataOffset))
        return endsEarly(directory, entry);
    return status;
}

std::vector<std::uint32_t> orderByOffset(const Directory &directory) {
    const Directory::Entries entries = directory.entries();
    std::vector<std::uint32_t> order(entries.size());
    std::iota(order.begin(), order.end(), 0U);
    bool sorted = true;
    std::uint64_t last = 0;
    for (std::size_t i = 0; i < order.size() && sorted; ++i) {
        const std::uint64_t offset = entries[i].localOffset;
        sorted = offset >= last;
        last = offset;
    }
    if (sorted)
        return order;
    std::vector<std::uint64_t> offsets(order.size());
    std::transform(
        order.begin(), order.end(), offsets.begin(),
        [&](std::uint32_t i) { return entries[i].localOffset; });
    std::stable_sort(order.begin(), order.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return offsets[a] < offsets[b]; });
    return order;
}

Extents::Extents(const InputFile &file, const Directory &directory)
    : m_limits(directory.entries().size(), directory.fileSize()) {
    std::vector<std::uint32_t> order = orderByOffset(directory);
    if (findOverlaps(directory, order))
        return;
    // Some overlap. Entries without a matching local header are left out of the second pass.
    const auto isMissing = [&](std::uint32_t index) {
        std::uint64_t offset = 0;
        return overlaps(index) &&
               !locateData(file, directory, directory.entries()[index], offset).ok();
    };
    order.erase(std::remove_if(order.begin(), order.end(), isMissing), order.end());
    std::fill(m_limits.begin(), m_limits.end(), directory.fileSize());
    findOverlaps(directory, order);
}

// Sets the limits of the entries in `order`, by offset. False if some overlap.
bool Extents::findOverlaps(const Directory &directory, std::vector<std::uint32_t> &order) {
    const Directory::Entries entries = directory.entries();
    // From the back: the offset that follows each entry.
    std::uint64_t next = directory.fileSize();
    std::uint64_t here = next;
    for (auto it = order.rbegin(); it != order.rend(); ++it) {
        const std::uint64_t offset = entries[*it].localOffset;
        if (offset != here) {
            next = std::max(here, offset);
            here = offset;
        }
        m_limits[*it] = offset < directory.start() ? std::min(next, directory.start()) : next;
    }
    // From the front: entries that start before an earlier one has ended. The sizes of the extra
    // fields in local headers are not known yet; limit() covers those.
    std::vector<std::uint32_t> bad;
    std::uint64_t furthest = 0;
    std::uint32_t holder = 0;
    for (const std::uint32_t index : order) {
        const Entry entry = entries[index];
        const std::uint64_t head = kLocalSize + entry.nameLength;
        const std::uint64_t end =
            entry.localOffset < UINT64_MAX - head &&
                    entry.compressedSize < UINT64_MAX - head - entry.localOffset
                ? entry.localOffset + head + entry.compressedSize
                : UINT64_MAX;
        if (entry.localOffset < furthest) {
            bad.push_back(index);
            bad.push_back(holder);
        }
        if (entry.localOffset < directory.start() + directory.size() && end > directory.start())
            bad.push_back(index);
        if (end > furthest) {
            furthest = end;
            holder = index;
        }
    }
    for (const std::uint32_t index : bad)
        m_limits[index] = 0;
    return bad.empty();
}

} // namespace ziplib
