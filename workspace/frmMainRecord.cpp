#include "archive/recordIndex.h"
#include "archive/workRecord.h"
#include "platform/files.h"
#include "platform/forms.h"
#include "platform/packedFiles.h"
#include "workspace/controls.h"
#include "workspace/fileOnDisk.h"
#include "workspace/frmMain.h"

#include <QComboBox>

#include <algorithm>
#include <chrono>
#include <deque>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

// The time of the last change to any written file.
std::int64_t newestChange(const RecordEntries &extracted) {
    std::int64_t newest = INT64_MIN;
    for (const WorkRecord::Entry &entry : extracted)
        if (entry.written)
            newest = std::max(newest, entry.file.changed);
    return newest;
}

// The disk's time, later than `newest` if a short wait can reach that: otherwise the times of files
// that have just been written would prove nothing.
bool timeAfter(std::int64_t newest, const platform::Folder &folder, platform::FileInfo &now) {
    // Longer than the step of the clock of Linux, and of Windows.
    constexpr std::chrono::milliseconds kWaits[] = {std::chrono::milliseconds(5),
                                                    std::chrono::milliseconds(20)};
    platform::FileInfo seen;
    seen.changed = newest;
    for (const std::chrono::milliseconds wait : kWaits) {
        std::this_thread::sleep_for(wait);
        if (!folder.newFileInfo(now).ok())
            return false;
        if (platform::PackedFiles::timesProve(seen, now.changed))
            break;
    }
    return true;
}

} // namespace

QString frmMain::WorkFolderName() const {
    return drpVL2File->currentData(kWorkFolderRole).toString();
}

// Written before the extraction, so that there is a base for each file that a killed one has
// written: what the archive holds now for files that do not exist, and for the others what is known
// of them.
WorkRecord frmMain::PrepareRecord(const WorkRecord::Archive &archive,
                                  const std::function<bool(const QString &)> &exists,
                                  platform::Status &written) {
    auto earlier = WorkRecord::read(WorkFolders(), WorkFolderName());
    if (earlier && !earlier->archive().isSame(archive))
        earlier.reset();
    WorkRecord record(archive, platform::FileInfo{});
    record.reserve(static_cast<std::size_t>(m_listing->count()));
    for (int i = 0; i < m_listing->count(); ++i) {
        if (exists && exists(m_listing->path(i)))
            continue;
        WorkRecord::Entry entry;
        entry.path = m_listing->utf8Path(i);
        entry.size = WorkRecord::Entry::kUnknownSize;
        entry.crc = m_listing->crc(i);
        record.put(std::move(entry));
        if ((i & 0x3F) == 0)
            platform::repaintPending();
    }
    if (earlier && exists)
        for (const WorkRecord::Entry &known : earlier->entries())
            if (exists(QString::fromStdString(known.path).replace('/', '\\')))
                record.put(known);
    // After a failure, an earlier record tells as much of the files that were there before; others
    // count as added.
    written = record.write(WorkFolders(), WorkFolderName());
    return record;
}

// A file that was there before stays as it is, so what was known about it stays too: otherwise a
// file from an older archive would look like an edit and replace a newer entry.
void frmMain::WriteRecord(const WorkRecord &prepared, const RecordEntries &extracted,
                          platform::Status &written) {
    platform::Folder workFolder;
    platform::FileInfo now;
    if (!workFolder.open(platform::storagePath(WorkFolder())).ok() ||
        !timeAfter(newestChange(extracted), workFolder, now))
        return;
    const QString folder = platform::nativePath(WorkFolder());
    WorkRecord record(prepared.archive(), now);
    record.reserve(extracted.size());
    RecordIndex known(prepared.entries());
    std::size_t count = 0;
    for (const WorkRecord::Entry &entry : extracted) {
        const WorkRecord::Entry *before = known.find(entry.path);
        // The file did not exist before the extraction.
        const bool isPrepared = before != nullptr && before->size == EntryVersion::kUnknownSize &&
                                before->sameBytes(entry);
        if (isPrepared)
            before = nullptr;
        // Its origin is unknown, so it must not pass for the archive's present version.
        if (!entry.written && before == nullptr && !isPrepared) {
            const FileOnDisk file(folder, entry);
            if (file.exists && !file.same)
                continue;
        }
        const bool keep = !entry.written && before != nullptr &&
                          (before->sameBytes(entry) || !FileOnDisk(folder, entry).same);
        record.put(keep ? *before : entry);
        if ((++count & 0x3FU) == 0)
            platform::repaintPending();
    }
    std::vector<WorkRecord::Entry> others;
    RecordIndex recorded(record.entries());
    for (const WorkRecord::Entry &before : prepared.entries()) {
        if (recorded.find(before.path) == nullptr && FileOnDisk(folder, before).exists)
            others.push_back(before);
        if ((++count & 0x3FU) == 0)
            platform::repaintPending();
    }
    for (WorkRecord::Entry &before : others)
        record.put(std::move(before));
    // After a failure, the prepared record tells what the archive held.
    const platform::Status status = record.write(WorkFolders(), WorkFolderName());
    if (status.ok())
        written = status;
}

std::optional<WorkRecord> frmMain::ReadRecord() const {
    return WorkRecord::read(WorkFolders(), WorkFolderName());
}

// What the folder was extracted from is the base, even if the archive's name leads to another one
// now, as a link does. Of files with an unreadable record, and of those that come back after a
// clean-up, nothing is known: each that differs from its entry may be older than that.
cZip::BaseSource frmMain::SaveBase() const {
    auto record = ReadRecord();
    if (!record && !WorkRecord::exists(WorkFolders(), WorkFolderName()) &&
        !m_emptied.contains(WorkFolder()) && HoldsAllFiles())
        return {};
    std::vector<EntryVersion> conflicts;
    if (m_conflictArchive == ArchivePath())
        conflicts = m_conflicts;
    return [record = std::move(record), conflicts = std::move(conflicts)](const auto &take) {
        if (record)
            for (const WorkRecord::Entry &entry : record->entries())
                take(entry);
        for (const EntryVersion &conflict : conflicts) {
            WorkRecord::Entry entry;
            static_cast<EntryVersion &>(entry) = conflict;
            take(entry);
        }
        return true;
    };
}

bool frmMain::HoldsAllFiles() const {
    for (int i = 1; i <= m_cUnzip->FileCount(); ++i) {
        const QString &name = m_cUnzip->Filename(i);
        const QString path = ExtractedPath(m_cUnzip->FileDirectory(i), name);
        if (!name.isEmpty() && !path.isEmpty() && platform::storedName(path).isEmpty())
            return false;
        if ((i & 0x3F) == 0)
            platform::repaintPending();
    }
    return true;
}

platform::Status frmMain::UpdateRecord() {
    if (platform::storedName(WorkFolder()).isEmpty())
        return {}; // deleted with its record
    WorkRecord::removeTemporaries(WorkFolders());
    const std::deque<SavedFile> &saved = m_cZ->LastResult().saved;
    const auto changesBase = [](const SavedFile &file) {
        return file.outcome != SavedFile::Outcome::Kept &&
               file.outcome != SavedFile::Outcome::Removed;
    };
    const auto archive = WorkRecord::archiveAt(ArchivePath());
    auto record = ReadRecord();
    if (!record && archive && WorkRecord::exists(WorkFolders(), WorkFolderName()))
        record.emplace(*archive, platform::FileInfo{}); // in place of an unreadable one
    if (!record || !archive || !std::any_of(saved.begin(), saved.end(), changesBase))
        return {};
    record->setArchive(*archive);
    std::vector<const SavedFile *> later;
    for (const SavedFile &file : saved)
        if (changesBase(file))
            later.push_back(&file);
    const auto isBefore = [](const SavedFile *a, const SavedFile *b) { return a->path < b->path; };
    if (!std::is_sorted(later.begin(), later.end(), isBefore)) // they usually are
        std::sort(later.begin(), later.end(), isBefore);
    std::vector<bool> isRecorded(later.size());
    record->replace([&](const std::string &path) -> const WorkRecord::Entry * {
        const auto file = std::lower_bound(
            later.begin(), later.end(), path,
            [](const SavedFile *one, const std::string &wanted) { return one->path < wanted; });
        if (file == later.end() || (*file)->path != path)
            return nullptr;
        isRecorded[static_cast<std::size_t>(file - later.begin())] = true;
        return *file;
    });
    for (std::size_t i = 0; i < later.size(); ++i)
        if (!isRecorded[i])
            record->put(*later[i]);
    return record->write(WorkFolders(), WorkFolderName());
}
