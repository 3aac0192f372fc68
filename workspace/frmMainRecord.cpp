#include "archive/workRecord.h"
#include "platform/files.h"
#include "platform/forms.h"
#include "platform/packedFiles.h"
#include "platform/workFolderCleaner.h"
#include "workspace/controls.h"
#include "workspace/frmMain.h"
#include "workspace/reasons.h"

#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <algorithm>

namespace {

// Fewer than the names that one call of the library takes.
constexpr std::int32_t kNamesOfCall = 1000;

// Whether a file of the work folder exists, and whether it has these bytes.
struct FileOnDisk {
    bool exists = false;
    bool same = false;

    FileOnDisk(const QString &workFolder, const EntryVersion &version) {
        const std::string path = workFolder.toStdString() + '/' + version.path;
        platform::InputFile file;
        platform::FileInfo info;
        exists = file.open(path, info).ok();
        if (!exists)
            return;
        const QString name = QString::fromStdString(version.path);
        platform::FileInfo seen;
        seen.size = version.size;
        platform::PackedFiles wanted;
        wanted.add(name, seen, version.crc, INT64_MIN);
        same = wanted.hold(name, info, false,
                           [&](platform::InputFile &opened) { return opened.open(path); });
    }
};

} // namespace

QString frmMain::WorkFolderName() const {
    return drpVL2File->currentData(kWorkFolderRole).toString();
}

// Written before the extraction, so that there is a base for each file that a killed one has
// written: what the archive holds now for files that do not exist, and for the others what is known
// of them.
void frmMain::PrepareRecord(const WorkRecord::Archive &archive,
                            const std::function<bool(const QString &)> &exists) {
    auto earlier = WorkRecord::read(WorkFolders(), WorkFolderName());
    if (earlier && !earlier->archive().isSame(archive))
        earlier.reset();
    WorkRecord record(archive, platform::FileInfo{});
    for (int i = 1; i <= m_cUnzip->FileCount(); ++i) {
        const QString folder = m_cUnzip->FileDirectory(i);
        QString file =
            folder.isEmpty() ? m_cUnzip->Filename(i) : folder + '\\' + m_cUnzip->Filename(i);
        if (exists(file))
            continue;
        WorkRecord::Entry entry;
        entry.path = file.replace('\\', '/').toStdString();
        entry.size = WorkRecord::Entry::kUnknownSize;
        entry.crc = static_cast<std::uint32_t>(m_cUnzip->FileCRC(i));
        record.put(std::move(entry));
        if ((i & 0x3F) == 0)
            platform::repaintPending();
    }
    if (earlier)
        for (const WorkRecord::Entry &known : earlier->entries())
            if (exists(QString::fromStdString(known.path).replace('/', '\\')))
                record.put(known);
    // A record of an earlier state would be worse than none.
    if (!record.write(WorkFolders(), WorkFolderName()).ok())
        WorkRecord::remove(WorkFolders(), WorkFolderName());
}

// A file that was there before stays as it is, so what was known about it stays too: otherwise a
// file from an older archive would look like an edit and replace a newer entry.
void frmMain::WriteRecord(const std::optional<WorkRecord::Archive> &archive) {
    auto extracted = m_cUnzip->TakeExtracted();
    platform::Folder workFolder;
    platform::FileInfo now;
    if (!archive || !extracted || !workFolder.open(platform::storagePath(WorkFolder())).ok() ||
        !workFolder.newFileInfo(now).ok())
        return;
    const QString folder = platform::nativePath(WorkFolder());
    auto earlier = WorkRecord::read(WorkFolders(), WorkFolderName());
    if (earlier && !earlier->archive().isSame(*archive))
        earlier.reset();
    WorkRecord record(*archive, now);
    for (WorkRecord::Entry &entry : *extracted) {
        const WorkRecord::Entry *before = earlier ? earlier->find(entry.path) : nullptr;
        // From PrepareRecord: the file did not exist before the extraction.
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
        record.put(keep ? *before : std::move(entry));
        if ((record.entries().size() & 0x3FU) == 0)
            platform::repaintPending();
    }
    if (earlier)
        for (const WorkRecord::Entry &before : earlier->entries())
            if (record.find(before.path) == nullptr && FileOnDisk(folder, before).exists)
                record.put(before);
    // Without a record everything works, with less knowledge.
    if (!record.write(WorkFolders(), WorkFolderName()).ok())
        WorkRecord::remove(WorkFolders(), WorkFolderName());
}

std::optional<WorkRecord> frmMain::ReadRecord() const {
    const auto archive = WorkRecord::archiveAt(ArchivePath());
    auto record = WorkRecord::read(WorkFolders(), WorkFolderName());
    if (record && archive && record->archive().isSame(*archive))
        return record;
    return {};
}

std::optional<std::vector<EntryVersion>> frmMain::SaveBase() const {
    const auto record = ReadRecord();
    if (!record)
        return {};
    std::vector<EntryVersion> base(record->entries().begin(), record->entries().end());
    // Later ones replace earlier ones.
    if (m_conflictArchive == ArchivePath())
        base.insert(base.end(), m_conflicts.begin(), m_conflicts.end());
    return base;
}

void frmMain::UpdateRecord() {
    if (platform::storedName(WorkFolder()).isEmpty())
        return; // deleted with its record
    WorkRecord::removeTemporaries(WorkFolders());
    const std::vector<SavedFile> &saved = m_cZ->LastResult().saved;
    const auto changesBase = [](const SavedFile &file) {
        return file.outcome != SavedFile::Outcome::Kept &&
               file.outcome != SavedFile::Outcome::Removed;
    };
    auto record = ReadRecord();
    if (!record || !std::any_of(saved.begin(), saved.end(), changesBase))
        return;
    for (const SavedFile &file : saved)
        if (changesBase(file))
            record->put(file);
    static_cast<void>(record->write(WorkFolders(), WorkFolderName()));
}

QString frmMain::TheirsFolder() const {
    QString name = WorkFolderName() + ".theirs";
    while (drpVL2File->findData(name, kWorkFolderRole, Qt::MatchFixedString) >= 0)
        name += '~';
    return WorkFolders() + '\\' + name;
}

// The library has no names but those of the entries, so the files are renamed afterwards.
QString frmMain::ExtractTheirs(const std::vector<EntryVersion> &conflicts) {
    if (QFileInfo(platform::nativePath(TheirsFolder())).isSymLink())
        return "it is a link";
    QSet<QString> wanted;
    for (const EntryVersion &entry : conflicts)
        wanted.insert(QString::fromStdString(entry.path).replace('/', '\\'));
    cUnzip archive;
    archive.setZipFile(ArchivePath());
    archive.setUnzipFolder(TheirsFolder());
    archive.setUseFolderNames(true);
    archive.setOverwriteExisting(true);
    archive.Directory();
    QStringList files;
    QString reason;
    qsizetype laid = 0;
    const auto extract = [&] {
        if (!files.isEmpty() && archive.Unzip())
            reason = Reason(archive.LastCode(), archive.LastMessage());
        platform::WorkFolderCleaner theirs(TheirsFolder());
        for (const QString &file : std::as_const(files)) {
            const QString path = platform::nativePath(TheirsFolder() + '\\' + file);
            if (!theirs.clearAttributes(file))
                continue;
            theirs.deleteFile(file + ".theirs");
            laid += QFile::rename(path, path + ".theirs") ? 1 : 0;
        }
        files.clear();
    };
    for (int i = 1; i <= archive.FileCount(); ++i)
        archive.setFileSelected(i, false);
    for (int i = 1, first = 1; i <= archive.FileCount(); ++i) {
        const QString folder = archive.FileDirectory(i);
        const QString file =
            folder.isEmpty() ? archive.Filename(i) : folder + '\\' + archive.Filename(i);
        archive.setFileSelected(i, wanted.contains(file) && StaysBelow(file));
        if (archive.FileSelected(i))
            files.append(file);
        if (files.size() < kNamesOfCall && i < archive.FileCount())
            continue;
        extract();
        for (; first <= i; ++first)
            archive.setFileSelected(first, false);
    }
    if (laid == wanted.size())
        return {};
    return reason.isEmpty() ? QStringLiteral("not all of them could be extracted") : reason;
}
