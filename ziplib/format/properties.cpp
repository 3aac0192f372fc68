// Path, kind, time and attributes of an entry.

#include "ziplib/format/bytes.h"
#include "ziplib/format/directory.h"
#include "ziplib/format/dosTime.h"
#include "ziplib/format/names.h"
#include "ziplib/format/records.h"

namespace ziplib {

namespace {

constexpr std::int64_t kSecond = 1'000'000'000;

const std::uint8_t *bytes(std::string_view field) {
    return reinterpret_cast<const std::uint8_t *>(field.data());
}

// True for hosts that store a file mode in the upper half of the external attributes.
bool isUnix(const Entry &entry) {
    const int host = entry.madeBy >> 8;
    return host == 3 || host == 19;
}

std::uint32_t fileType(const Entry &entry) {
    return isUnix(entry) ? (entry.externalAttributes >> 16) & 0170000U : 0;
}

bool ntfsTime(std::string_view field, std::int64_t &time) {
    // Four reserved bytes, then tagged attributes; the first one holds the times.
    if (field.size() < 4 + 4 + 8 || get16(bytes(field) + 4) != 1)
        return false;
    constexpr std::uint64_t kFrom1601 = 116'444'736'000'000'000ULL;
    constexpr std::uint64_t kLatest = kFrom1601 + static_cast<std::uint64_t>(INT64_MAX / 100);
    const std::uint64_t ticks = get64(bytes(field) + 8);
    if (ticks < kFrom1601 || ticks > kLatest)
        return false;
    time = static_cast<std::int64_t>(ticks - kFrom1601) * 100;
    return true;
}

} // namespace

std::string Directory::path(const Entry &entry) const {
    std::string path = decodeName(rawName(entry));
    if (isFolder(entry) && (path.empty() || path.back() != '/'))
        path += '/';
    return path;
}

bool Directory::isFolder(const Entry &entry) const {
    const std::string_view raw = rawName(entry);
    if (!raw.empty() && (raw.back() == '/' || raw.back() == '\\'))
        return true;
    const std::uint32_t type = fileType(entry);
    const bool marked =
        type == 0 ? (entry.externalAttributes & kExternalFolder) != 0 : type == 0040000U;
    return marked && entry.size == 0 && !raw.empty();
}

bool Directory::isSpecial(const Entry &entry) const {
    const std::uint32_t type = fileType(entry);
    return type != 0 && type != 0040000U && type != 0100000U;
}

std::int64_t Directory::modified(const Entry &entry) const {
    const std::string_view all = extra(entry);
    std::int64_t time = 0;
    if (ntfsTime(findExtra(all, kExtraNtfs), time))
        return time;
    const std::string_view stamp = findExtra(all, kExtraTimestamp);
    if (stamp.size() >= 5 && (stamp[0] & 1) != 0)
        return static_cast<std::int32_t>(get32(bytes(stamp) + 1)) * kSecond;
    return toNanoseconds(dosTime(entry.date, entry.time));
}

std::uint8_t Directory::attributes(const Entry &entry) const {
    if (isUnix(entry)) {
        const std::uint32_t mode = entry.externalAttributes >> 16;
        return mode != 0 && (mode & 0222U) == 0 ? platform::kAttributeReadOnly : 0;
    }
    constexpr std::uint32_t kKnown = platform::kAttributeReadOnly | platform::kAttributeHidden |
                                     platform::kAttributeSystem | platform::kAttributeArchive;
    return static_cast<std::uint8_t>(entry.externalAttributes & kKnown);
}

} // namespace ziplib
