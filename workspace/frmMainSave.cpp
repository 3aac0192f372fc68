#include "archive/workRecord.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/forms.h"
#include "platform/workFolderCleaner.h"
#include "workspace/controls.h"
#include "workspace/frmMain.h"
#include "workspace/reasons.h"
#include "ziplib/returnCode.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <map>
#include <utility>

namespace {

constexpr int kManyFiles = 100; // in a folder, beside those of the archive
constexpr const char *kPartly = "was saved, but not all of it";

bool containsNoFile(const QString &folder) {
    const QDir::Filters files = QDir::Files | QDir::Hidden | QDir::System;
    return !QDirIterator(folder, files, QDirIterator::Subdirectories).hasNext();
}

// What killed runs have left, also in folders that neither archive nor record knows any more.
void removeTemporaries(const QString &folder) {
    QDirIterator files(folder, {".orvel-*.part"}, QDir::Files | QDir::Hidden,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        platform::Folder holder;
        if (holder.open(QFileInfo(files.next()).path().toStdString()).ok())
            holder.removeStaleTemporaries();
    }
}

} // namespace

void frmMain::cmdSaveChanges_Click() {
    if (!KeepsWorkFolder())
        return;
    platform::setMousePointer(this, 11);
    DisableWindow();
    platform::postponeRepaint(); // a small archive is saved or cleaned up before that
    StopLooking();
    QString stayed;
    BeginProgress(m_lines->Count());
    const QString failure = PackWorkFolder();
    if (failure.isEmpty()) {
        const auto packed = m_cZ->TakePacked();
        stayed = CleanUpWorkFolder(packed ? &*packed : nullptr, Others::Keep);
    }
    if (failure.isEmpty() || failure.contains(kPartly))
        m_conflicts.clear(); // they are settled
    const platform::Status recorded = UpdateRecord();
    UpdateButtons(); // looks for changes by the new record
    lblStatus->SetText(
        failure.isEmpty() ? drpVL2File->currentText() + ".vl2 was created successfully" : failure);
    HideProgressBar();
    EnableWindow();
    platform::setMousePointer(this, 0);
    if (!failure.isEmpty())
        platform::MsgBox(failure, platform::kCritical, "Orvel");
    const bool saved = failure.isEmpty() || failure.contains(kPartly);
    if (!recorded.ok())
        stayed = (stayed + '\n' + RecordNote(QString::fromStdString(recorded.message))).trimmed();
    if (saved)
        ShowNote(stayed.isEmpty() ? SaveNote() : SaveNote() + '\n' + stayed);
}

QString frmMain::SaveNote() const {
    using Outcome = SavedFile::Outcome;
    const ZipResult &result = m_cZ->LastResult();
    std::map<Outcome, NamedFiles> files;
    NamedFiles added;
    for (const SavedFile &file : result.saved) {
        files[file.outcome].add(file.path);
        if (file.outcome == Outcome::Added || file.outcome == Outcome::Restored)
            added.add(file.path);
    }
    QStringList lines(ChangesNote(files[Outcome::Changed], added));
    if (lines.first().isEmpty())
        lines.first() = result.partly() ? "No other file was changed."
                                        : "Nothing was changed, and the archive was left alone.";
    const auto add = [&](const char *what, Outcome outcome) {
        if (files[outcome].count() > 0)
            lines.append(what + ShortList(files[outcome]));
    };
    add("Removed from the archive since the extraction, and added again: ", Outcome::Restored);
    add("Newer in the archive, and left so: ", Outcome::Kept);
    add("Removed from the archive since the extraction, and left so: ", Outcome::Removed);
    if (!result.leftovers.isEmpty())
        lines.append(LeftoversNote(result.leftovers));
    return lines.join('\n');
}

void frmMain::cmdCancel_Click() {
    if (!KeepsWorkFolder())
        return;
    m_conflicts.clear();
    platform::setMousePointer(this, 11);
    DisableWindow();
    platform::postponeRepaint(); // a small archive is saved or cleaned up before that
    StopLooking();
    const platform::PackedFiles known = KnownFiles(ListedNow());
    const QString note = CleanUpWorkFolder(&known, Others::Trash);
    UpdateButtons();
    platform::setMousePointer(this, 0);
    EnableWindow();
    if (!note.isEmpty())
        ShowNote(note);
}

platform::PackedFiles frmMain::KnownFiles(const ChangedFiles::Listing &listing) const {
    const auto record = ReadRecord();
    return record ? record->knownFiles(listing.get()) : ListedFiles();
}

// Another program may have replaced the archive since it was listed.
ChangedFiles::Listing frmMain::ListedNow() const {
    const auto archive = WorkRecord::archiveAt(ArchivePath());
    if (archive && sameVersion(archive->seen, m_listed))
        return m_listing;
    cUnzip now;
    now.setZipFile(ArchivePath());
    try {
        now.Directory();
    } catch (const platform::RuntimeError &) {
        return nullptr;
    }
    return now.Entries();
}

platform::PackedFiles frmMain::ListedFiles() const {
    platform::PackedFiles known;
    platform::FileInfo anyVersion;
    anyVersion.size = platform::PackedFiles::kAnySize;
    for (int i = 1; i <= m_cUnzip->FileCount(); ++i)
        known.add(m_cUnzip->FileDirectory(i) + '\\' + m_cUnzip->Filename(i), anyVersion,
                  static_cast<std::uint32_t>(m_cUnzip->FileCRC(i)), INT64_MIN);
    return known;
}

QString frmMain::PackWorkFolder() {
    const QString folder = platform::nativePath(WorkFolder());
    QString reason;
    QString outcome = "was not saved";
    bool noFile = false;
    m_cZ->ClearResult(); // that of an earlier save must not be taken for this one's
    try {
        // A new archive would lack the entries that were not extracted.
        if (platform::storedName(ArchivePath()).isEmpty())
            throw platform::RuntimeError(platform::ErrorNumber::FileNotFound,
                                         "the archive is no longer there", "Orvel");
        if (platform::storedName(WorkFolder()).isEmpty())
            throw platform::RuntimeError(platform::ErrorNumber::PathNotFound,
                                         "its work folder is no longer there: " + folder, "Orvel");
        m_cZ->setZipFile(ArchivePath());
        m_cZ->setBasePath(WorkFolder() + '\\');
        m_cZ->ClearFileSpecs();
        m_cZ->AddFileSpec("*");
        m_cZ->setStoreFolderNames(true);
        m_cZ->setRecurseSubDirs(true);
        m_cZ->setBase(SaveBase());
        m_cZ->Zip();
        if (m_cZ->LastResult().ok())
            return {};
        if (m_cZ->LastResult().partly())
            outcome = kPartly;
        const std::int32_t code = m_cZ->LastResult().code;
        noFile = ziplib::ReturnCode{code} == ziplib::ReturnCode::NothingMatched &&
                 containsNoFile(folder);
        if (m_cZ->LastResult().conflict())
            reason = ConflictText();
        else
            reason =
                noFile ? "there is no file in " + folder : Reason(code, m_cZ->LastResult().message);
    } catch (const platform::RuntimeError &error) {
        reason = error.description();
    }
    const QString failure =
        QStringLiteral("%1.vl2 %2: %3").arg(drpVL2File->currentText(), outcome, reason);
    const bool filesLeft = !noFile && !platform::storedName(WorkFolder()).isEmpty();
    return filesLeft ? failure + ". Your files are still in " + folder : failure;
}

// A step that fails is skipped: files that cannot be deleted stay.
QString frmMain::CleanUpWorkFolder(const platform::PackedFiles *known, Others others) {
    QString note;
    if (FileExists(ProbeFile()) != 0) {
        const ArchiveNodes &nodes = m_tree->Nodes();
        ShowProgressBar(m_lines->Count() - 1);
        platform::WorkFolderCleaner cleaner(WorkFolder());
        // Files that were changed during the save may not be in the archive.
        if (known != nullptr && others == Others::Keep)
            cleaner.deleteOnly(*known);
        else if (known != nullptr)
            cleaner.trashOthers(*known);
        const auto done = [&](int line, bool deleted) {
            // Read-only files are deleted too, so only files that stay need this.
            if (!deleted)
                cleaner.clearAttributes(m_lines->Text(line));
            SetProgress(line);
            platform::repaintPending(); // moving to the trash takes long
        };
        cleaner.deleteFiles(
            m_lines->Count(), [this](int line) { return m_lines->Text(line); }, done,
            platform::repaintPending);
        const auto step = [this](int file, int count) {
            if (file == 0 && count >= kManyFiles)
                ShowProgressBar(count - 1);
            if (count >= kManyFiles)
                SetProgress(file);
            platform::repaintPending();
        };
        cleaner.deleteFilesIn({}, step);
        for (int node = nodes.Count(); node >= 1; --node) {
            if (!nodes.HasChildren(node))
                continue;
            cleaner.deleteFilesIn(nodes.Text(node), step);
            cleaner.removeFolder(nodes.Text(node));
            platform::repaintPending();
        }
        if (!containsNoFile(platform::nativePath(WorkFolder()))) {
            removeTemporaries(platform::nativePath(WorkFolder()));
            DeleteLostFiles(cleaner);
        }
        cleaner.removeFolder({});
        if (containsNoFile(platform::nativePath(WorkFolder()))) {
            WorkRecord::remove(WorkFolders(), WorkFolderName());
            m_emptied.insert(WorkFolder());
        }
        HideProgressBar();
        note = others == Others::Keep ? StayedNote(cleaner.kept() + cleaner.inUse())
                                      : TrashNote(cleaner.trashed(), cleaner.deleted(),
                                                  cleaner.kept(), cleaner.inUse());
    }
    return note;
}

void frmMain::DeleteLostFiles(platform::WorkFolderCleaner &cleaner) const {
    const auto record = ReadRecord();
    if (!record)
        return;
    const auto folderOf = [](const QString &file) {
        return file.left(qMax<qsizetype>(file.lastIndexOf('\\'), 0));
    };
    QSet<QString> listed;
    for (int line = 0; line < m_lines->Count(); ++line) {
        const QString file = m_lines->Text(line);
        listed.insert(file.startsWith('\\') ? file.mid(1) : file);
        listed.insert(folderOf(file) + '\\');
    }
    QStringList folders;
    for (const WorkRecord::Entry &entry : record->entries()) {
        const QString file = QString::fromStdString(entry.path).replace('/', '\\');
        const QString folder = folderOf(file);
        if (!listed.contains(file))
            cleaner.deleteFile(file);
        if (!listed.contains(folder + '\\') && !folders.contains(folder))
            folders.append(folder);
        platform::repaintPending();
    }
    // Subfolders first: their paths are longer.
    std::sort(folders.begin(), folders.end(),
              [](const QString &left, const QString &right) { return left.size() > right.size(); });
    for (const QString &folder : std::as_const(folders)) {
        cleaner.deleteFilesIn(folder);
        cleaner.removeFolder(folder);
    }
}
