#include "archive/recordFile.h"

#include "archive/libraryEvents.h"
#include "platform/error.h"
#include "platform/files.h"
#include "storage/recordBytes.h"

#include <libdeflate.h>

#include <algorithm>
#include <string_view>
#include <utility>

// The file, all numbers little-endian:
//   magic and version, 8 bytes
//   size of the head in bytes, 4 bytes
//   head: the archive, the disk's time, the number of entries
//   CRC-32 of all bytes so far
//   entries in the archive's order, each path as the bytes that differ from the previous one
//   CRC-32 of all bytes so far
//   the bytes before the entries once more, and their number, 4 bytes

using platform::FileInfo;
using platform::Folder;
using platform::RecordReader;
using platform::RecordWriter;
using platform::Status;

namespace {

constexpr std::string_view kMagic = "OrvelWR"; // a byte with the version follows
// 2 has no birth times of archive and folder and no edited entries. The head of a later version
// begins like that of this one.
constexpr unsigned char kOldest = RecordEntries::kOldest;
constexpr int kSizeBytes = 4;
constexpr int kCrcBytes = 4;
constexpr std::size_t kSizeStart = kMagic.size() + 1;
constexpr std::size_t kHeadStart = kSizeStart + kSizeBytes;
// Far more than any path needs, and less than a damaged size could make the program allocate.
constexpr std::uint64_t kLargestHead = 1U << 20U;
constexpr std::uint64_t kLargestRecord = 1U << 30U;

// Passes offset and size of each piece of so many bytes to `use` until it returns false, and calls
// the idle handler between pieces. False if `use` returned it.
template<typename Use>
bool forEachPiece(std::size_t size, Use use) {
    constexpr std::size_t kPiece = 1U << 20U;
    for (std::size_t at = 0; at < size; at += kPiece) {
        if (at > 0)
            callIdleHandler();
        if (!use(at, std::min(size - at, kPiece)))
            return false;
    }
    return true;
}

// Of `bytes`, after those that have the CRC-32 `before`.
std::uint32_t crcOf(std::string_view bytes, std::uint32_t before = 0) {
    return libdeflate_crc32(before, bytes.data(), bytes.size());
}

// What follows the CRC-32 of the entries: the bytes before them, and their number.
std::string lastHead(const std::string &head) {
    RecordWriter out;
    out.text(head);
    out.fixed(head.size(), kSizeBytes);
    return out.bytes();
}

// True if the bytes end in the CRC-32 of those before.
bool endsInCrc(std::string_view bytes) {
    const std::size_t end = bytes.size() - kCrcBytes;
    return RecordReader(bytes.substr(end)).fixed(kCrcBytes) == crcOf(bytes.substr(0, end));
}

} // namespace

bool RecordFile::open(const QString &folders, const QString &name) {
    Folder folder;
    FileInfo info;
    try {
        if (!folder.open(platform::storagePath(folders)).ok())
            return false;
    } catch (const platform::RuntimeError &) {
        return false;
    }
    if (!folder
             .openFile(WorkRecord::fileName(name).toStdString(), m_file, Folder::Links::Refuse,
                       info)
             .ok())
        return false;
    m_size = info.size;
    return m_size <= kLargestRecord;
}

bool RecordFile::readLastHead() {
    m_bytes.clear();
    std::string size;
    if (m_size < kSizeBytes || !read(m_size - kSizeBytes, kSizeBytes, size))
        return false;
    const std::uint64_t length = RecordReader(size).fixed(kSizeBytes);
    if (length > m_size - kSizeBytes)
        return false;
    m_start = m_size - kSizeBytes - length;
    return readHead();
}

bool RecordFile::readHead() {
    if (!readVersion() || m_version < kOldest || !readUpTo(kHeadStart))
        return false;
    RecordReader start(std::string_view(m_bytes).substr(kSizeStart));
    const std::uint64_t size = start.fixed(kSizeBytes);
    if (size > kLargestHead || !readUpTo(kHeadStart + size + kCrcBytes) || !endsInCrc(m_bytes))
        return false;
    RecordReader head(std::string_view(m_bytes).substr(kHeadStart, size));
    WorkRecord::Archive &archive = m_head.archive;
    archive.path = QString::fromStdString(std::string(head.text(head.number())));
    FileInfo &seen = archive.seen;
    seen.kind = FileInfo::Kind::File;
    seen.device = head.number();
    seen.id = head.number();
    seen.size = head.number();
    seen.modified = static_cast<std::int64_t>(head.step(0));
    seen.changed = static_cast<std::int64_t>(head.step(0));
    archive.folder.device = head.number();
    archive.folder.id = head.number();
    m_head.device = head.number();
    m_head.began = static_cast<std::int64_t>(head.step(0));
    m_count = head.number();
    if (m_version > kOldest) {
        archive.born = static_cast<std::int64_t>(head.step(0));
        archive.folderBorn = static_cast<std::int64_t>(head.step(0));
    }
    return !head.failed() && (head.atEnd() || m_version > kVersion);
}

bool RecordFile::readVersion() {
    if (!readUpTo(kSizeStart) || !std::string_view(m_bytes).starts_with(kMagic))
        return false;
    m_version = static_cast<unsigned char>(m_bytes.back());
    return true;
}

bool RecordFile::readEntries(RecordEntries &entries) {
    const std::size_t start = m_bytes.size();
    if (m_version > kVersion || m_size < 2 * start + kCrcBytes + kSizeBytes)
        return false;
    const std::string tail = lastHead(m_bytes);
    const std::uint64_t end = m_size - tail.size() - kCrcBytes;
    std::string bytes;
    std::string rest;
    if (!read(start, end - start, bytes) || !read(end, kCrcBytes + tail.size(), rest) ||
        rest.substr(kCrcBytes) != tail ||
        RecordReader(rest).fixed(kCrcBytes) != crcOf(bytes, crcOf(m_bytes)))
        return false;
    return entries.load(std::move(bytes), m_count, m_version);
}

Status RecordFile::write(platform::NewFile &file, const Head &head, const RecordEntries &entries) {
    const WorkRecord::Archive &archive = head.archive;
    const auto bits = [](std::int64_t value) { return static_cast<std::uint64_t>(value); };
    const std::string path = archive.path.toStdString();
    RecordWriter facts;
    facts.number(path.size());
    facts.text(path);
    facts.number(archive.seen.device);
    facts.number(archive.seen.id);
    facts.number(archive.seen.size);
    facts.step(bits(archive.seen.modified), 0);
    facts.step(bits(archive.seen.changed), 0);
    facts.number(archive.folder.device);
    facts.number(archive.folder.id);
    facts.number(head.device);
    facts.step(bits(head.began), 0);
    facts.number(entries.size());
    facts.step(bits(archive.born), 0);
    facts.step(bits(archive.folderBorn), 0);

    RecordWriter start;
    start.text(kMagic);
    start.fixed(kVersion, 1);
    start.fixed(facts.bytes().size(), kSizeBytes);
    start.text(facts.bytes());
    start.fixed(crcOf(start.bytes()), kCrcBytes);
    RecordWriter end;
    end.fixed(crcOf(entries.bytes(), crcOf(start.bytes())), kCrcBytes);
    end.text(lastHead(start.bytes()));

    Status status;
    for (const std::string *bytes : {&start.bytes(), &entries.bytes(), &end.bytes()}) {
        const auto write = [&](std::size_t at, std::size_t size) {
            status = file.write(bytes->data() + at, size);
            return status.ok();
        };
        if (!forEachPiece(bytes->size(), write))
            break;
    }
    return status;
}

bool RecordFile::read(std::uint64_t offset, std::uint64_t size, std::string &bytes) const {
    const std::size_t start = bytes.size();
    bytes.reserve(start + static_cast<std::size_t>(size));
    return forEachPiece(static_cast<std::size_t>(size), [&](std::size_t at, std::size_t part) {
        bytes.resize(start + at + part);
        std::size_t got = 0;
        return m_file.readAt(offset + at, bytes.data() + start + at, part, got).ok() && got == part;
    });
}

bool RecordFile::readUpTo(std::uint64_t end) {
    const std::size_t start = m_bytes.size();
    return end >= start && end <= m_size - m_start && read(m_start + start, end - start, m_bytes);
}
