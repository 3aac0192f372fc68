#include "ziplib/format/directory.h"

#include "ziplib/format/bytes.h"
#include "ziplib/format/endRecord.h"
#include "ziplib/format/records.h"

#include <algorithm>
#include <cstring>

namespace ziplib {

namespace {

using platform::Failure;
using platform::InputFile;
using platform::Status;

// Larger central directories are refused.
constexpr std::uint64_t kLargestDirectory = 512U << 20;
constexpr std::size_t kReadStep = 4U << 20;
constexpr std::size_t kEachStep = 512U << 10; // if no entry is kept
constexpr std::uint64_t kLongestRecord = kCentralSize + 3ULL * kZip64Sentinel16;

} // namespace

Status Directory::read(const InputFile &file, const platform::KeepGoing &keepGoing) {
    return readAll(file, {}, keepGoing);
}

Status Directory::readEach(const InputFile &file, const Take &take,
                           const platform::KeepGoing &keepGoing) {
    return readAll(file, take, keepGoing);
}

Status Directory::readAll(const InputFile &file, const Take &take,
                          const platform::KeepGoing &keepGoing) {
    m_records.clear();
    m_damage = {};
    m_missing = 0;
    platform::FileInfo info;
    if (Status status = file.info(info); !status.ok())
        return status;
    m_fileSize = info.size;
    if (Status status = findEndRecord(file, m_fileSize, m_end); !status.ok())
        return status;
    if (m_end.commentCut)
        m_damage = {Failure::EndsEarly, file.path() + " ends early, in its comment", file.path()};
    if (size() > kLargestDirectory)
        return {Failure::Damaged, file.path() + " has a directory that is too large", file.path()};
    reserve(m_bytes,
            static_cast<std::size_t>(take ? std::min(size(), kEachStep + kLongestRecord) : size()));
    if (!take)
        m_records.reserve(static_cast<std::size_t>(std::min(m_end.count, size() / kCentralSize)));
    std::uint64_t found = 0;
    if (Status status = readRecords(file, take, keepGoing, found); !status.ok()) {
        m_records.clear();
        return status;
    }
    const std::uint64_t counted = found & m_end.countMask;
    const std::uint64_t declared = m_end.count & m_end.countMask;
    if (counted < declared)
        m_missing = 1; // the count itself may be wrong
    if (counted != declared && m_damage.ok()) {
        m_damage = {Failure::Damaged, file.path() + " declares another number of entries",
                    file.path()};
    }
    return {};
}

// Reads in steps and stops at the first byte that is no record, so that a forged size costs no more
// than the records that exist.
Status Directory::readRecords(const InputFile &file, const Take &take,
                              const platform::KeepGoing &keepGoing, std::uint64_t &count) {
    std::uint64_t kept = 0; // where m_bytes starts
    std::uint64_t filled = 0;
    std::uint64_t at = 0;
    while (filled < size()) {
        const auto step = static_cast<std::size_t>(
            std::min<std::uint64_t>(take ? kEachStep : kReadStep, size() - filled));
        std::size_t got = 0;
        if (Status status =
                file.readAt(start() + filled, m_bytes.data() + (filled - kept), step, got);
            !status.ok())
            return status;
        filled += got;
        while (const std::uint64_t length = recordSize(at - kept, filled - kept)) {
            ++count;
            if (take)
                take(decode(at - kept));
            else
                m_records.push_back(static_cast<std::uint32_t>(at));
            at += length;
        }
        // The rest must be the start of a record that the next step completes.
        if (got < step || filled - at >= kLongestRecord)
            break;
        if (keepGoing && !keepGoing())
            return {Failure::Cancelled, "cancelled", file.path()};
        if (take) {
            std::memmove(m_bytes.data(), m_bytes.data() + (at - kept), filled - at);
            kept = at;
        }
    }
    const bool signatureFollows =
        at + 4 <= filled && get32(m_bytes.data() + (at - kept)) == kDigitalSignature;
    if (at != size() && !signatureFollows) {
        m_damage = {Failure::Damaged, file.path() + " has a damaged directory", file.path()};
        m_missing = 1;
    }
    return {};
}

std::uint64_t Directory::recordSize(std::uint64_t at, std::uint64_t filled) const {
    if (filled - at < kCentralSize)
        return 0;
    const std::uint8_t *record = m_bytes.data() + at;
    if (get32(record) != kCentralSignature)
        return 0;
    const std::uint8_t *fields = record + kCentralCommon;
    const std::uint64_t length =
        std::uint64_t{kCentralSize} + get16(fields + commonField::kNameLength) +
        get16(fields + commonField::kExtraLength) + get16(record + centralField::kCommentLength);
    return filled - at < length ? 0 : length;
}

Entry Directory::decode(std::uint64_t at) const {
    const std::uint8_t *record = m_bytes.data() + at;
    const std::uint8_t *fields = record + kCentralCommon;
    Entry entry;
    entry.nameLength = get16(fields + commonField::kNameLength);
    entry.extraLength = get16(fields + commonField::kExtraLength);
    entry.commentLength = get16(record + centralField::kCommentLength);
    entry.record = static_cast<std::uint32_t>(at);
    entry.madeBy = get16(record + centralField::kMadeBy);
    entry.flags = get16(fields + commonField::kFlags);
    entry.method = get16(fields + commonField::kMethod);
    entry.time = get16(fields + commonField::kTime);
    entry.date = get16(fields + commonField::kDate);
    entry.crc = get32(fields + commonField::kCrc);
    entry.compressedSize = get32(fields + commonField::kCompressedSize);
    entry.size = get32(fields + commonField::kSize);
    entry.internalAttributes = get16(record + centralField::kInternalAttributes);
    entry.externalAttributes = get32(record + centralField::kExternalAttributes);
    entry.localOffset = get32(record + centralField::kLocalOffset);
    if (std::max({entry.size, entry.compressedSize, entry.localOffset}) == kZip64Sentinel)
        applyZip64(extra(entry), {&entry.size, &entry.compressedSize, &entry.localOffset});
    // An offset that would overflow stays at the maximum: past the end of any file.
    entry.localOffset += std::min(base(), UINT64_MAX - entry.localOffset);
    return entry;
}

std::string_view Directory::slice(std::size_t at, std::size_t size) const {
    return {reinterpret_cast<const char *>(m_bytes.data()) + at, size};
}

std::string_view Directory::rawName(const Entry &entry) const {
    return slice(entry.record + kCentralSize, entry.nameLength);
}

std::string_view Directory::extra(const Entry &entry) const {
    return slice(entry.record + kCentralSize + entry.nameLength, entry.extraLength);
}

std::string_view Directory::comment(const Entry &entry) const {
    return slice(entry.record + kCentralSize + entry.nameLength + entry.extraLength,
                 entry.commentLength);
}

std::string_view Directory::record(const Entry &entry) const {
    return slice(entry.record, kCentralSize + entry.nameLength + entry.extraLength +
                                   static_cast<std::size_t>(entry.commentLength));
}

} // namespace ziplib
