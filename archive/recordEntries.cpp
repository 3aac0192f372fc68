#include "archive/recordEntries.h"

#include "archive/libraryEvents.h"

#include <algorithm>
#include <string_view>
#include <utility>

using platform::FileInfo;
using platform::RecordReader;
using platform::RecordWriter;

namespace {

// About as many bytes does an entry need.
constexpr std::size_t kUsualEntry = 40;

constexpr int kCrcBytes = 4;
constexpr int kTimeBytes = 4;

// Flags of an entry.
constexpr std::uint64_t kWritten = 1;
constexpr std::uint64_t kTimesTell = 2;
constexpr std::uint64_t kOtherSize = 4;   // the file's size is not the entry's
constexpr std::uint64_t kOtherDevice = 8; // than that of the previous written file
constexpr std::uint64_t kSeenLater = 16;
constexpr std::uint64_t kEdited = 32; // since version 3
constexpr std::uint64_t kPlain = 64;  // never in a file

template<typename Value>
std::uint64_t bits(Value value) {
    return static_cast<std::uint64_t>(value);
}

// `path` is that of the previous entry, `before` the previous written file.
void writeEntry(RecordWriter &out, const RecordEntry &entry, std::string_view path,
                const FileInfo &before) {
    const FileInfo &file = entry.file;
    std::uint64_t flags = 0;
    if (entry.written) {
        flags = kWritten | (entry.timesTell ? kTimesTell : 0) | (entry.seenLater ? kSeenLater : 0) |
                (file.size != entry.size ? kOtherSize : 0) |
                (file.device != before.device ? kOtherDevice : 0) | (entry.edited ? kEdited : 0) |
                (file.plain ? kPlain : 0);
    }
    const std::size_t shared = platform::sharedLength(path, entry.path);
    out.number(flags);
    out.number(shared);
    out.number(entry.path.size() - shared);
    out.text(std::string_view(entry.path).substr(shared));
    out.fixed(entry.crc, kCrcBytes);
    out.number(entry.size);
    out.fixed(entry.dosTime, kTimeBytes);
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

// `entry` is the previous entry and becomes the next one, `before` is as in writeEntry().
void readEntry(RecordReader &in, RecordEntry &entry, const FileInfo &before,
               unsigned char version) {
    std::uint64_t flags = in.number();
    const std::uint64_t shared = in.number();
    const std::uint64_t rest = in.number();
    entry.path.resize(static_cast<std::size_t>(std::min<std::uint64_t>(shared, entry.path.size())));
    entry.path += in.text(rest);
    entry.crc = static_cast<std::uint32_t>(in.fixed(kCrcBytes));
    entry.size = in.number();
    entry.dosTime = static_cast<std::uint32_t>(in.fixed(kTimeBytes));
    entry.written = (flags & kWritten) != 0;
    flags = entry.written ? flags : 0;
    entry.timesTell = (flags & kTimesTell) != 0;
    entry.seenLater = (flags & kSeenLater) != 0;
    entry.edited = (flags & kEdited) != 0;
    entry.file = {};
    if (!entry.written)
        return;
    // What a save puts into a record has no stored date.
    if (version == RecordEntries::kOldest)
        entry.edited = entry.dosTime == 0;
    FileInfo &file = entry.file;
    file.kind = FileInfo::Kind::File;
    file.plain = (flags & kPlain) != 0;
    file.device = (flags & kOtherDevice) != 0 ? in.number() : before.device;
    file.size = (flags & kOtherSize) != 0 ? in.number() : entry.size;
    file.id = in.step(before.id);
    file.modified = static_cast<std::int64_t>(in.step(bits(before.modified)));
    file.changed = static_cast<std::int64_t>(in.step(bits(before.changed)));
}

} // namespace

void RecordEntries::reserve(std::size_t count) {
    m_bytes.reserve(kUsualEntry * count);
}

void RecordEntries::append(const RecordEntry &entry) {
    m_path.reserve(entry.path.size());
    const std::size_t end = m_bytes.bytes().size();
    try {
        writeEntry(m_bytes, entry, m_path, m_file);
    } catch (...) {
        m_bytes.truncate(end); // otherwise no later entry could be read
        throw;
    }
    m_path = entry.path;
    if (entry.written)
        m_file = entry.file;
    ++m_count;
}

bool RecordEntries::load(std::string bytes, std::uint64_t count, unsigned char version) {
    *this = {};
    RecordReader in(bytes);
    RecordEntry entry;
    std::size_t read = 0;
    for (; read < count && !in.failed(); ++read) {
        readEntry(in, entry, m_file, version);
        if (version != kVersion)
            append(entry);
        else if (entry.written)
            m_file = entry.file;
        callIdleHandler(read);
    }
    if (in.failed() || !in.atEnd())
        return false;
    if (version == kVersion) {
        m_path = std::move(entry.path);
        m_bytes = RecordWriter(std::move(bytes));
        m_count = read;
    }
    return true;
}

RecordEntries::Iterator::Iterator(const RecordEntries &list, std::size_t number)
    : m_list(&list), m_number(number) {
    decode();
}

RecordEntries::Iterator &RecordEntries::Iterator::operator++() {
    ++m_number;
    decode();
    return *this;
}

void RecordEntries::Iterator::decode() {
    if (m_number >= m_list->size())
        return;
    RecordReader in(std::string_view(m_list->bytes()).substr(m_next));
    readEntry(in, m_entry, m_file, kVersion);
    m_next += in.at();
    if (m_entry.written)
        m_file = m_entry.file;
}
