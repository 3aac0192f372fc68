#include "archive/recordEntries.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/forms.h"
#include "platform/workFolderCleaner.h"
#include "workspace/archiveTreeView.h"
#include "workspace/controls.h"
#include "workspace/frmMain.h"
#include "workspace/reasons.h"
#include "ziplib/returnCode.h"

#include <QDir>
#include <QDirIterator>
#include <QPushButton>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

using ziplib::ReturnCode;

namespace {

// Creates one folder and ignores errors: it may exist.
void tryMakeFolder(const QString &path) {
    try {
        platform::makeFolder(path);
    } catch (const platform::RuntimeError &) { // NOLINT(bugprone-empty-catch)
    }
}

// Moves `next` to the extracted entry of a listed one; false if it is not among the next ones. Both
// lists are in the archive's order, and few entries are in one of them only.
bool findEntry(RecordEntries::Iterator &next, const RecordEntries::Iterator &end,
               const EntryList &listing, int line) {
    constexpr std::size_t kMostSkipped = 64;
    const std::string path = listing.utf8Path(line);
    if (next == end || next->path == path)
        return next != end;
    RecordEntries::Iterator entry = next;
    while (++entry != end && entry.number() < next.number() + kMostSkipped) {
        if (entry->path == path) {
            next = std::move(entry);
            return true;
        }
    }
    return false;
}

// The entries with the new `changed` of some files, in the order of their numbers.
RecordEntries seenLater(const RecordEntries &extracted,
                        const std::vector<std::pair<std::size_t, std::int64_t>> &later) {
    RecordEntries seen;
    seen.reserve(extracted.size());
    auto next = later.begin();
    for (auto entry = extracted.begin(); entry != extracted.end(); ++entry) {
        RecordEntry known = *entry;
        if (next != later.end() && next->first == entry.number()) {
            known.file.changed = next++->second;
            known.seenLater = true;
        }
        seen.append(known);
    }
    return seen;
}

// The path in a form for comparison, since some file systems ignore the letter case and the Unicode
// normalization form of names.
QString comparable(const QString &path) {
    return path.normalized(QString::NormalizationForm_KC).toCaseFolded();
}

// The paths of all files and folders below a folder, in the form for comparison. Does not follow
// links.
QSet<QString> namesBelow(const QString &folder) {
    QSet<QString> names;
    const QDir::Filters all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    QDirIterator files(folder, all, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString name = files.next().mid(folder.size() + 1).replace('/', '\\');
        names.insert(comparable(name));
        platform::repaintPending();
    }
    return names;
}

// Removes a work folder and its subfolders as far as they are empty, except those in `before`.
void removeEmptyFolders(const QString &workFolder, const QSet<QString> &before,
                        platform::WorkFolderCleaner &cleaner) {
    const QString top = platform::nativePath(workFolder);
    QStringList folders;
    QDirIterator below(top, QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (below.hasNext())
        folders.append(below.next().mid(top.size() + 1).replace('/', '\\'));
    // Subfolders first: their paths are longer.
    std::sort(folders.begin(), folders.end(),
              [](const QString &left, const QString &right) { return left.size() > right.size(); });
    for (const QString &folder : std::as_const(folders))
        if (!before.contains(comparable(folder)))
            cleaner.removeFolder(folder);
    cleaner.removeFolder({});
}

} // namespace

void frmMain::cmdExtract_Click() {
    // Another program has replaced it, or this one has saved it: the list is that of the old one.
    const auto archive = WorkRecord::archiveAt(ArchivePath());
    if (archive && !sameVersion(archive->seen, m_listed)) {
        ArchiveChosen();
        if (!cmdExtract->isEnabled())
            return;
    }
    lblStatus->SetText("Please wait. Extracting files...");
    DisableWindow();
    platform::setMousePointer(this, 11);
    platform::repaintPending();
    for (int i = 1; i <= m_cUnzip->FileCount(); ++i)
        m_cUnzip->setFileSelected(i, true);
    AssignWorkFolders();
    m_cUnzip->setUnzipFolder(PrepareWorkFolder());
    const bool owned = OwnsWorkFolder();
    const QString note = owned ? ExtractAll() : QString();
    HideProgressBar();
    platform::setMousePointer(this, 0);
    EnableWindow();
    lblStatus->SetText("Select a file to edit.");
    UpdateButtons();
    if (owned)
        treArchive->setFocus(); // however Extract was pressed: the next step is to choose a file
    else
        ShowOwner(); // even if it has extracted nothing yet
    if (owned && !note.isEmpty())
        ShowNote(note);
}

QString frmMain::ExtractAll() {
    const QSet<QString> before = namesBelow(platform::nativePath(m_cUnzip->UnzipFolder()));
    std::optional<WorkRecord> prepared;
    platform::Status recorded;
    std::function<bool(const QString &)> wasThere;
    if (!before.isEmpty())
        wasThere = [&](const QString &file) { return before.contains(comparable(file)); };
    const auto archive = WorkRecord::archiveAt(ArchivePath());
    if (archive)
        prepared = PrepareRecord(*archive, wasThere, recorded);
    BeginProgress(m_cUnzip->FileCount());
    const bool problem = m_cUnzip->Unzip();
    auto extracted = m_cUnzip->TakeExtracted();
    RecordEntries unknown;
    ClearFileAttributes(extracted ? *extracted : unknown);
    QString note = problem ? ExtractionNote() : QString();
    if (m_tree->Nodes().Count() > 0 && FileExists(ProbeFile()) == 0)
        note = UndoExtraction(before);
    if (platform::storedName(WorkFolder()).isEmpty())
        WorkRecord::remove(WorkFolders(), WorkFolderName());
    else if (prepared && extracted &&
             (FileExists(ProbeFile()) != 0 || m_tree->Nodes().Count() == 0))
        WriteRecord(*prepared, *extracted, recorded);
    if (!recorded.ok() && FileExists(ProbeFile()) != 0 &&
        !WorkRecord::readArchive(WorkFolders(), WorkFolderName()))
        note = (note + '\n' + RecordNote(QString::fromStdString(recorded.message))).trimmed();
    m_conflicts.clear();
    return note;
}

QString frmMain::PrepareWorkFolder() {
    if (WorkFolderSetting().isEmpty())
        SetDefaultWorkFolder();
    QString folder = WorkFolder();
    tryMakeFolder(WorkFolders());
    tryMakeFolder(folder);
    m_cUnzip->setPromptToOverwrite(false);
    m_cUnzip->setUseFolderNames(true);
    return folder;
}

// Most files have none: asking the disk for each again would take a tenth of the extraction's time.
void frmMain::ClearFileAttributes(RecordEntries &extracted) {
    platform::WorkFolderCleaner cleaner(WorkFolder());
    // FileExists ignores hidden files, and the probe file may be one.
    const ArchiveNodes &nodes = m_tree->Nodes();
    if (nodes.Count() > 0 && FileExists(ProbeFile()) == 0)
        cleaner.clearAttributes(nodes.Text(1) + '\\' + nodes.Text(nodes.FirstChild(1)));
    if (FileExists(ProbeFile()) == 0)
        return;
    // The new `changed` of the files that are seen later.
    std::vector<std::pair<std::size_t, std::int64_t>> later;
    auto next = extracted.begin();
    bool isTaken = false; // the entry that `next` points to
    for (int line = 0; line < m_lines->Count(); ++line) {
        if ((line & 0x3F) == 0)
            platform::repaintPending();
        if (isTaken)
            ++next;
        isTaken = findEntry(next, extracted.end(), *m_listing, line);
        const bool isWritten = isTaken && next->written;
        platform::FileInfo cleared;
        if ((isWritten && next->file.plain) ||
            !cleaner.clearAttributes(m_lines->Text(line), &cleared) || !isWritten)
            continue;
        // Otherwise another program has written to it.
        const platform::FileInfo &file = next->file;
        if (sameFile(cleared, file) && cleared.size == file.size &&
            cleared.modified == file.modified && cleared.changed != file.changed)
            later.emplace_back(next.number(), cleared.changed);
    }
    if (!later.empty())
        extracted = seenLater(extracted, later);
}

QString frmMain::ExtractionNote() const {
    const QString reason = Reason(m_cUnzip->LastCode(), m_cUnzip->LastMessage());
    if (m_cUnzip->MissingCount() == 0)
        return OddArchiveNote(reason);
    return QStringLiteral("Not every file was extracted: %1. What is missing stays in the archive.")
        .arg(reason);
}

// Without its probe file, an archive counts as not extracted: its work folder can be neither edited
// nor cleaned up. Files left in it would be kept by the next extraction and then replace the
// entries of a newer archive.
QString frmMain::UndoExtraction(const QSet<QString> &before) {
    platform::WorkFolderCleaner cleaner(WorkFolder());
    // Keeps files whose contents differ from the archive's: another program has changed them.
    const platform::PackedFiles extracted = ListedFiles();
    cleaner.deleteOnly(extracted);
    for (int line = 0; line < m_lines->Count(); ++line) {
        const QString file = m_lines->Text(line);
        const QString name = file.startsWith('\\') ? file.mid(1) : file;
        if (StaysBelow(file) && !before.contains(comparable(name)))
            cleaner.deleteFile(file);
        if ((line & 0x3F) == 0)
            platform::repaintPending();
    }
    removeEmptyFolders(WorkFolder(), before, cleaner);

    const ArchiveNodes &nodes = m_tree->Nodes();
    const QString folder = nodes.Text(1).isEmpty() ? QString() : nodes.Text(1) + '\\';
    const QString first = folder + nodes.Text(nodes.FirstChild(1));
    // The last message may concern another entry than the first.
    QString reason = Reason(m_cUnzip->LastCode(), m_cUnzip->LastMessage());
    const ReturnCode code{m_cUnzip->LastCode()};
    const std::array codesOfEntries{ReturnCode::Done,        ReturnCode::Warnings,
                                    ReturnCode::Damaged,     ReturnCode::EndsEarly,
                                    ReturnCode::Unsupported, ReturnCode::NoPassword};
    const bool ofEntry =
        std::find(codesOfEntries.begin(), codesOfEntries.end(), code) != codesOfEntries.end();
    const bool none = m_cUnzip->MissingCount() >= m_cUnzip->FileCount();
    if (code == ReturnCode::Done || (ofEntry && !none && !reason.contains(first) &&
                                     !reason.contains(QString(first).replace('\\', '/'))))
        reason = "it is not there after the extraction";
    QString note = QStringLiteral("%1.vl2 cannot be edited, because its first file cannot be "
                                  "extracted (%2): %3. Nothing was left in the work folder.")
                       .arg(drpVL2File->currentText(), first, reason);
    if (!platform::storedName(WorkFolder()).isEmpty())
        note.replace("Nothing was left in the work folder.",
                     "Other files were left as they are in " +
                         QDir::toNativeSeparators(platform::nativePath(WorkFolder())) + '.');
    return note;
}
