#include "archive/workRecord.h"

#include "archive/libraryEvents.h"
#include "archive/recordFile.h"
#include "archive/recordIndex.h"
#include "platform/error.h"
#include "platform/files.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

using platform::FileInfo;
using platform::Folder;
using platform::Status;

namespace {

// Of a record of a newer version, in whose place one was written.
constexpr QLatin1String kNewerEnding(".newer");
constexpr std::size_t kListedBytes = 256; // of paths in a listing

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

const RecordEntries &WorkRecord::entries() const {
    merge();
    return m_entries;
}

// Decides `timesTell`.
WorkRecord::Entry WorkRecord::judged(Entry entry) const {
    // A write sets both times of a file to the disk's current one, so a file with an earlier
    // `modified` was not written to since it got this `changed`.
    const bool known = entry.written && entry.file.device == m_device;
    entry.timesTell = known && platform::PackedFiles::timesProve(entry.file, m_began) &&
                      entry.file.modified < entry.file.changed;
    entry.file.plain = false; // not recorded
    return entry;
}

void WorkRecord::put(Entry entry) {
    m_entries.append(judged(std::move(entry)));
}

void WorkRecord::replace(const std::function<const Entry *(const std::string &path)> &find) {
    RecordEntries replaced;
    replaced.reserve(entries().size());
    for (const Entry &entry : entries()) {
        const Entry *later = find(entry.path);
        replaced.append(later == nullptr ? entry : judged(*later));
        callIdleHandler(replaced.size());
    }
    m_entries = std::move(replaced);
}

void WorkRecord::merge() const {
    if (m_merged == m_entries.size())
        return;
    RecordIndex index(m_entries);
    const auto repetitions = index.repetitions();
    if (!repetitions.empty()) {
        std::vector<bool> isLater(m_entries.size());
        for (const auto &repetition : repetitions)
            isLater[repetition.second] = true;
        RecordEntries merged;
        merged.reserve(m_entries.size() - repetitions.size());
        auto next = repetitions.begin();
        for (auto entry = m_entries.begin(); entry != m_entries.end(); ++entry) {
            std::size_t last = entry.number();
            for (; next != repetitions.end() && next->first == entry.number(); ++next)
                last = next->second;
            if (last != entry.number())
                merged.append(*index.at(last));
            else if (!isLater[last])
                merged.append(*entry);
            callIdleHandler(entry.number());
        }
        m_entries = std::move(merged);
    }
    m_merged = m_entries.size();
}

platform::PackedFiles WorkRecord::knownFiles(const EntryList *listing) const {
    platform::PackedFiles files;
    files.reserve(entries().size());
    const auto add = [&](const Entry &entry) {
        FileInfo seen = entry.file;
        seen.size = entry.written ? seen.size : entry.size;
        files.add(QString::fromStdString(entry.path), seen, entry.crc,
                  entry.timesTell ? m_began : INT64_MIN);
    };
    const auto listed = [](const std::string &path, std::uint32_t crc) {
        return std::pair(path.substr(0, kListedBytes), crc);
    };
    std::multimap<std::pair<std::string, std::uint32_t>, Entry> edited;
    std::size_t count = 0;
    for (const Entry &entry : entries()) {
        callIdleHandler(++count);
        if (!entry.edited) {
            add(entry);
            continue;
        }
        edited.emplace(listed(entry.path, entry.crc), entry);
    }
    for (std::int32_t i = 0; listing != nullptr && i < listing->count() && !edited.empty(); ++i) {
        const auto held = edited.equal_range(listed(listing->utf8Path(i), listing->crc(i)));
        std::for_each(held.first, held.second, [&](const auto &known) { add(known.second); });
        edited.erase(held.first, held.second);
    }
    return files;
}

std::optional<WorkRecord> WorkRecord::read(const QString &folders, const QString &name) {
    RecordFile file;
    WorkRecord record;
    if (!file.open(folders, name) || !file.readHead() || !file.readEntries(record.m_entries))
        return {};
    record.m_archive = file.head().archive;
    record.m_device = file.head().device;
    record.m_began = file.head().began;
    record.m_merged = record.m_entries.size();
    return record;
}

std::optional<WorkRecord::Archive> WorkRecord::readArchive(const QString &folders,
                                                           const QString &name) {
    RecordFile file;
    if (!file.open(folders, name) || (!file.readHead() && !file.readLastHead()))
        return {};
    return file.head().archive;
}

bool WorkRecord::exists(const QString &folders, const QString &name) {
    Folder folder;
    FileInfo info;
    return openFolder(folders, folder) && folder.info(fileName(name).toStdString(), info).ok();
}

bool WorkRecord::isNewer(const QString &folders, const QString &name) {
    RecordFile file;
    return file.open(folders, name) && file.readVersion() && file.version() > RecordFile::kVersion;
}

Status WorkRecord::write(const QString &folders, const QString &name) const {
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
        status = RecordFile::write(file, {m_archive, m_device, m_began}, entries());
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
