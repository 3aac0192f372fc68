#include "archive/workRecord.h"

#include "platform/error.h"
#include "platform/files.h"
#include "storage/recordBytes.h"

#include <libdeflate.h>

#include <algorithm>
#include <functional>
#include <set>
#include <type_traits>

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
using platform::sharedLength;
using platform::Status;

namespace {

constexpr std::string_view kMagic = "OrvelWR"; // a byte with the version follows
// 2 has no birth times of archive and folder and no kEdited. The head of a later version begins
// like that of this one.
constexpr unsigned char kVersion = 3;
constexpr unsigned char kOldest = 2;
constexpr int kSizeBytes = 4;
constexpr int kCrcBytes = 4;
constexpr std::size_t kSizeStart = kMagic.size() + 1;
constexpr std::size_t kHeadStart = kSizeStart + kSizeBytes;
// Far more than any path needs, and less than a damaged size could make the program allocate.
constexpr std::uint64_t kLargestHead = 1U << 20U;
constexpr std::uint64_t kLargestRecord = 1U << 30U;
// Of a record of a newer version, in whose place one was written.
constexpr QLatin1String kNewerEnding(".newer");
constexpr std::size_t kListedBytes = 256; // of paths in a listing

// About as many bytes does an entry need.
constexpr std::size_t kUsualEntry = 40;

// Flags of an entry.
constexpr std::uint64_t kWritten = 1;
constexpr std::uint64_t kTimesTell = 2;
constexpr std::uint64_t kOtherSize = 4;   // the file's size is not the entry's
constexpr std::uint64_t kOtherDevice = 8; // than that of the previous written file
constexpr std::uint64_t kSeenLater = 16;
constexpr std::uint64_t kEdited = 32;

std::uint32_t crcOf(std::string_view bytes) {
    return libdeflate_crc32(0, bytes.data(), bytes.size());
}

template<typename Value>
std::uint64_t bits(Value value) {
    return static_cast<std::uint64_t>(value);
}

// `path` is that of the previous entry, `before` the previous written file.
void writeEntry(RecordWriter &out, const WorkRecord::Entry &entry, std::string_view path,
                const FileInfo &before) {
    const FileInfo &file = entry.file;
    std::uint64_t flags = 0;
    if (entry.written) {
        flags = kWritten | (entry.timesTell ? kTimesTell : 0) | (entry.seenLater ? kSeenLater : 0) |
                (file.size != entry.size ? kOtherSize : 0) |
                (file.device != before.device ? kOtherDevice : 0) | (entry.edited ? kEdited : 0);
    }
    const std::size_t shared = sharedLength(path, entry.path);
    out.number(flags);
    out.number(shared);
    out.number(entry.path.size() - shared);
    out.text(std::string_view(entry.path).substr(shared));
    out.fixed(entry.crc, kCrcBytes);
    out.number(entry.size);
    out.fixed(entry.dosTime, 4);
    if (!entry.written)
        return;
    if ((flags & kOtherDevice) != 0)
        out.number(file.device);
    if ((flags & kOtherSize) != 0)
        out.number(file.size);
    out.step(file.id, before.id);
    out.step(bits(file.modified), bits(before.modified));
    out.step(bits(file.changed), bits(before.changed));
}

WorkRecord::Entry readEntry(RecordReader &in, std::string_view path, const FileInfo &before,
                            unsigned char version) {
    WorkRecord::Entry entry;
    const std::uint64_t flags = in.number();
    const std::uint64_t shared = in.number();
    const std::uint64_t rest = in.number();
    entry.path = path.substr(0, std::min<std::uint64_t>(shared, path.size()));
    entry.path += in.text(rest);
    entry.crc = static_cast<std::uint32_t>(in.fixed(kCrcBytes));
    entry.size = in.number();
    entry.dosTime = static_cast<std::uint32_t>(in.fixed(4));
    entry.written = (flags & kWritten) != 0;
    if (!entry.written)
        return entry;
    entry.timesTell = (flags & kTimesTell) != 0;
    entry.seenLater = (flags & kSeenLater) != 0;
    // What a save puts into a record has no stored date.
    entry.edited = version == kOldest ? entry.dosTime == 0 : (flags & kEdited) != 0;
    entry.file.kind = FileInfo::Kind::File;
    entry.file.device = (flags & kOtherDevice) != 0 ? in.number() : before.device;
    entry.file.size = (flags & kOtherSize) != 0 ? in.number() : entry.size;
    entry.file.id = in.step(before.id);
    entry.file.modified = static_cast<std::int64_t>(in.step(bits(before.modified)));
    entry.file.changed = static_cast<std::int64_t>(in.step(bits(before.changed)));
    return entry;
}

// What follows the entries: the bytes before them, and their number.
std::string lastHead(const std::string &head) {
    RecordWriter out;
    out.text(head);
    out.fixed(head.size(), kSizeBytes);
    return out.bytes();
}

// Opens the folder of the records; false if there is none.
bool openFolder(const QString &folders, Folder &folder) {
    try {
        return folder.open(platform::storagePath(folders)).ok();
    } catch (const platform::RuntimeError &) {
        return false;
    }
}

// The name for the copy of a record of a newer version.
std::string newerName(const QString &name) {
    const QString file = WorkRecord::fileName(name);
    return (platform::fittedName(file, kNewerEnding.size()) + kNewerEnding).toStdString();
}

// Copies it to that name.
Status keepCopy(const Folder &folder, const QString &name) {
    platform::InputFile source;
    FileInfo info;
    platform::NewFile copy;
    Status status = folder.openFile(WorkRecord::fileName(name).toStdString(), source,
                                    Folder::Links::Refuse, info);
    if (status.ok())
        status = copy.create(folder);
    if (status.ok())
        status = copy.copyFrom(source, 0, info.size, [] { return true; });
    if (status.ok())
        status = copy.commit(newerName(name), platform::NewFile::Replace::Yes);
    return status;
}

} // namespace

// Reads a record's file step by step. Each step returns false if the record counts as none.
class WorkRecordReader {
  public:
    bool open(const QString &folders, const QString &name) {
        Folder folder;
        FileInfo info;
        if (!openFolder(folders, folder) || !folder
                                                 .openFile(WorkRecord::fileName(name).toStdString(),
                                                           m_file, Folder::Links::Refuse, info)
                                                 .ok())
            return false;
        m_size = info.size;
        return m_size <= kLargestRecord;
    }

    // From the copy at the end. readEntries() is not possible after it.
    bool readLastHead() {
        m_bytes.clear();
        std::string size(kSizeBytes, '\0');
        if (m_size < kSizeBytes || !readAt(m_size - kSizeBytes, size))
            return false;
        const std::uint64_t length = RecordReader(size).fixed(kSizeBytes);
        if (length > m_size - kSizeBytes)
            return false;
        m_start = m_size - kSizeBytes - length;
        return readHead();
    }

    bool readHead() {
        if (!readVersion() || m_version < kOldest || !readUpTo(kHeadStart))
            return false;
        RecordReader start(std::string_view(m_bytes).substr(kSizeStart));
        const std::uint64_t size = start.fixed(kSizeBytes);
        if (size > kLargestHead || !readUpTo(kHeadStart + size + kCrcBytes) || !endsInCrc())
            return false;
        RecordReader head(std::string_view(m_bytes).substr(kHeadStart, size));
        m_record.m_archive.path = QString::fromStdString(std::string(head.text(head.number())));
        FileInfo &seen = m_record.m_archive.seen;
        seen.kind = FileInfo::Kind::File;
        seen.device = head.number();
        seen.id = head.number();
        seen.size = head.number();
        seen.modified = static_cast<std::int64_t>(head.step(0));
        seen.changed = static_cast<std::int64_t>(head.step(0));
        m_record.m_archive.folder.device = head.number();
        m_record.m_archive.folder.id = head.number();
        m_record.m_device = head.number();
        m_record.m_began = static_cast<std::int64_t>(head.step(0));
        m_count = head.number();
        if (m_version > kOldest) {
            m_record.m_archive.born = static_cast<std::int64_t>(head.step(0));
            m_record.m_archive.folderBorn = static_cast<std::int64_t>(head.step(0));
        }
        return !head.failed() && (head.atEnd() || m_version > kVersion);
    }

    // False if the file is no record of any version.
    bool readVersion() {
        if (!readUpTo(kSizeStart) || !std::string_view(m_bytes).starts_with(kMagic))
            return false;
        m_version = static_cast<unsigned char>(m_bytes.back());
        return true;
    }
    unsigned char version() const { return m_version; }

    bool readEntries() {
        return readEach([this](WorkRecord::Entry &entry) {
            // Not by the number that the record declares: that may need more memory than there is.
            if (m_record.m_entries.empty())
                m_record.m_entries.reserve(std::min<std::uint64_t>(m_count, m_size / 16));
            m_record.m_entries.push_back(std::move(entry));
        });
    }

    // `take` may move the entry.
    bool readEach(const std::function<void(WorkRecord::Entry &entry)> &take) {
        const std::size_t start = m_bytes.size();
        if (m_version > kVersion || m_size < 2 * start + kCrcBytes + kSizeBytes)
            return false;
        const std::size_t end = static_cast<std::size_t>(m_size) - start - kSizeBytes;
        if (!readUpTo(m_size) || lastHead(m_bytes.substr(0, start)) != m_bytes.substr(end))
            return false;
        m_bytes.resize(end);
        if (!endsInCrc())
            return false;
        RecordReader in(
            std::string_view(m_bytes).substr(start, m_bytes.size() - start - kCrcBytes));
        FileInfo before;
        std::string path;
        for (std::uint64_t i = 0; i < m_count && !in.failed(); ++i) {
            WorkRecord::Entry entry = readEntry(in, path, before, m_version);
            path = entry.path;
            if (entry.written)
                before = entry.file;
            take(entry);
        }
        return !in.failed() && in.atEnd();
    }

    WorkRecord take() { return std::move(m_record); }

  private:
    bool readAt(std::uint64_t offset, std::string &bytes, std::size_t from = 0) const {
        const std::size_t size = bytes.size() - from;
        std::size_t got = 0;
        return m_file.readAt(offset, bytes.data() + from, size, got).ok() && got == size;
    }

    bool readUpTo(std::uint64_t end) {
        const std::size_t start = m_bytes.size();
        if (end < start || end > m_size - m_start)
            return false;
        m_bytes.resize(static_cast<std::size_t>(end));
        return readAt(m_start + start, m_bytes, start);
    }

    bool endsInCrc() const {
        const std::string_view bytes(m_bytes);
        const std::size_t end = bytes.size() - kCrcBytes;
        return RecordReader(bytes.substr(end)).fixed(kCrcBytes) == crcOf(bytes.substr(0, end));
    }

    platform::InputFile m_file;
    std::uint64_t m_size = 0;
    std::uint64_t m_start = 0; // of m_bytes in the file
    std::uint64_t m_count = 0;
    std::string m_bytes;
    unsigned char m_version = 0;
    WorkRecord m_record;
};

const WorkRecord::Entry *WorkRecord::find(std::string_view path) const {
    if (m_next < m_entries.size() && m_entries[m_next].path == path)
        return &m_entries[m_next++];
    const std::size_t key = keyOf(path);
    const auto found = m_indices.constFind(key);
    if (found == m_indices.cend())
        return nullptr;
    m_next = *found + 1;
    return &m_entries[*found];
}

void WorkRecord::reserve(std::size_t count) {
    m_entries.reserve(count);
    m_indices.reserve(static_cast<qsizetype>(count));
}

std::size_t WorkRecord::keyOf(std::string_view path) const {
    const auto placeOf = [this](std::string_view wanted) {
        std::size_t key = std::hash<std::string_view>()(wanted);
        auto known = m_indices.constFind(key);
        while (known != m_indices.cend() && m_entries[*known].path != wanted)
            known = m_indices.constFind(++key);
        return key;
    };
    for (; m_indexed < m_entries.size(); ++m_indexed)
        m_indices.insert(placeOf(m_entries[m_indexed].path), m_indexed);
    return placeOf(path);
}

void WorkRecord::put(Entry entry) {
    // A write sets both times of a file to the disk's current one, so a file with an earlier
    // `modified` was not written to since it got this `changed`.
    const bool known = entry.written && entry.file.device == m_device;
    entry.timesTell = known && platform::PackedFiles::timesProve(entry.file, m_began) &&
                      entry.file.modified < entry.file.changed;
    const std::size_t key = keyOf(entry.path);
    const auto earlier = m_indices.constFind(key);
    if (earlier != m_indices.cend()) {
        m_entries[*earlier] = std::move(entry);
        return;
    }
    m_entries.push_back(std::move(entry));
    m_indices.insert(key, m_indexed++);
}

platform::PackedFiles WorkRecord::knownFiles(const EntryList *listing) const {
    platform::PackedFiles files;
    std::set<std::pair<std::string, std::uint32_t>> held; // if it matters
    const auto isEdited = [](const Entry &entry) { return entry.edited; };
    if (listing != nullptr && std::any_of(m_entries.begin(), m_entries.end(), isEdited))
        for (std::int32_t i = 0; i < listing->count(); ++i)
            held.emplace(listing->utf8Path(i), listing->crc(i));
    for (const Entry &entry : m_entries) {
        if (entry.edited && held.count({entry.path.substr(0, kListedBytes), entry.crc}) == 0)
            continue;
        FileInfo seen = entry.file;
        seen.size = entry.written ? seen.size : entry.size;
        files.add(QString::fromStdString(entry.path), seen, entry.crc,
                  entry.timesTell ? m_began : INT64_MIN);
    }
    return files;
}

std::optional<WorkRecord> WorkRecord::read(const QString &folders, const QString &name) {
    WorkRecordReader reader;
    if (!reader.open(folders, name) || !reader.readHead() || !reader.readEntries())
        return {};
    return reader.take();
}

bool WorkRecord::readEach(const QString &folders, const QString &name,
                          const std::function<void(const Entry &entry)> &take) {
    WorkRecordReader reader;
    return reader.open(folders, name) && reader.readHead() && reader.readEach(take);
}

std::optional<WorkRecord::Archive> WorkRecord::readArchive(const QString &folders,
                                                           const QString &name) {
    WorkRecordReader reader;
    if (!reader.open(folders, name) || (!reader.readHead() && !reader.readLastHead()))
        return {};
    return reader.take().archive();
}

bool WorkRecord::exists(const QString &folders, const QString &name) {
    Folder folder;
    FileInfo info;
    return openFolder(folders, folder) && folder.info(fileName(name).toStdString(), info).ok();
}

bool WorkRecord::isNewer(const QString &folders, const QString &name) {
    WorkRecordReader reader;
    return reader.open(folders, name) && reader.readVersion() && reader.version() > kVersion;
}

Status WorkRecord::write(const QString &folders, const QString &name) const {
    RecordWriter head;
    const std::string path = m_archive.path.toStdString();
    head.number(path.size());
    head.text(path);
    head.number(m_archive.seen.device);
    head.number(m_archive.seen.id);
    head.number(m_archive.seen.size);
    head.step(bits(m_archive.seen.modified), 0);
    head.step(bits(m_archive.seen.changed), 0);
    head.number(m_archive.folder.device);
    head.number(m_archive.folder.id);
    head.number(m_device);
    head.step(bits(m_began), 0);
    head.number(m_entries.size());
    head.step(bits(m_archive.born), 0);
    head.step(bits(m_archive.folderBorn), 0);

    RecordWriter out;
    out.reserve(kUsualEntry * m_entries.size() + 2 * head.bytes().size());
    out.text(kMagic);
    out.fixed(kVersion, 1);
    out.fixed(head.bytes().size(), kSizeBytes);
    out.text(head.bytes());
    out.fixed(crcOf(out.bytes()), kCrcBytes);
    const std::string start = out.bytes();
    FileInfo before;
    std::string_view previous;
    for (const Entry &entry : m_entries) {
        writeEntry(out, entry, previous, before);
        previous = entry.path;
        if (entry.written)
            before = entry.file;
    }
    out.fixed(crcOf(out.bytes()), kCrcBytes);
    out.text(lastHead(start));

    Folder folder;
    if (!openFolder(folders, folder))
        return {platform::Failure::NotFound, "cannot open " + folders.toStdString()};
    folder.removeStaleTemporaries();
    if (isNewer(folders, name))
        if (Status kept = keepCopy(folder, name); !kept.ok())
            return kept;
    platform::NewFile file;
    Status status = file.create(folder, platform::NewFile::Guard::Locked);
    if (status.ok())
        status = file.write(out.bytes().data(), out.bytes().size());
    if (status.ok())
        status = file.commit(fileName(name).toStdString(), platform::NewFile::Replace::Yes);
    return status;
}

void WorkRecord::removeTemporaries(const QString &folders) {
    Folder folder;
    if (openFolder(folders, folder))
        folder.removeStaleTemporaries();
}

void WorkRecord::remove(const QString &folders, const QString &name) {
    Folder folder;
    if (!openFolder(folders, folder))
        return;
    folder.removeStaleTemporaries();
    for (const std::string &file : {fileName(name).toStdString(), newerName(name)})
        static_cast<void>(folder.removeFile(file));
}

QString WorkRecord::fileName(const QString &name) {
    const QString start = ".orvel-";
    const QString ending = ".record";
    return start + platform::fittedName(name, start.size() + ending.size()) + ending;
}
