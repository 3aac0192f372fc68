#include "archive/workRecord.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/forms.h"
#include "platform/workFolderCleaner.h"
#include "workspace/controls.h"
#include "workspace/frmMain.h"
#include "workspace/reasons.h"
#include "ziplib/returnCode.h"

#include <QComboBox>
#include <QDirIterator>
#include <QProgressBar>

namespace {

constexpr const char *kPartly = "was saved, but not all of it";

bool containsNoFile(const QString &folder) {
    const QDir::Filters files = QDir::Files | QDir::Hidden | QDir::System;
    return !QDirIterator(folder, files, QDirIterator::Subdirectories).hasNext();
}

} // namespace

void frmMain::cmdSaveChanges_Click() {
    platform::setMousePointer(this, 11);
    DisableWindow();
    StopLooking();
    const QString failure = PackWorkFolder();
    if (failure.isEmpty()) {
        const auto packed = m_cZ->TakePacked();
        CleanUpWorkFolder(packed ? &*packed : nullptr, Others::Keep);
        lblStatus->SetText(drpVL2File->currentText() + ".vl2 was created successfully");
    } else {
        UpdateButtons();
        lblStatus->SetText(failure);
    }
    EnableWindow();
    platform::setMousePointer(this, 0);
    if (!failure.isEmpty())
        platform::MsgBox(failure, platform::kCritical, "Orvel");
    const bool saved = failure.isEmpty() || failure.contains(kPartly);
    if (saved && !m_cZ->LastResult().leftovers.isEmpty())
        ShowNote(LeftoversNote(m_cZ->LastResult().leftovers));
}

void frmMain::cmdCancel_Click() {
    platform::setMousePointer(this, 11);
    DisableWindow();
    StopLooking();
    const platform::PackedFiles known = KnownFiles();
    const QString note = CleanUpWorkFolder(&known, Others::Trash);
    platform::setMousePointer(this, 0);
    EnableWindow();
    if (!note.isEmpty())
        ShowNote(note);
}

platform::PackedFiles frmMain::KnownFiles() const {
    const QString name = drpVL2File->currentData(kWorkFolderRole).toString();
    if (const auto record = WorkRecord::read(WorkFolders(), name))
        return record->knownFiles();
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
        m_cZ->Zip();
        if (m_cZ->LastResult().ok())
            return {};
        if (m_cZ->LastResult().partly())
            outcome = kPartly;
        const std::int32_t code = m_cZ->LastResult().code;
        noFile = ziplib::ReturnCode{code} == ziplib::ReturnCode::NothingMatched &&
                 containsNoFile(folder);
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
        for (int line = 0; line < m_lines->Count(); ++line) {
            const QString file = m_lines->Text(line);
            // deleteFile deletes read-only files too, so only files that stay need this.
            if (!cleaner.deleteFile(file))
                cleaner.clearAttributes(file);
            SetProgress(line);
        }
        cleaner.deleteFilesIn({});
        for (int node = nodes.Count(); node >= 1; --node) {
            if (!nodes.HasChildren(node))
                continue;
            cleaner.deleteFilesIn(nodes.Text(node));
            cleaner.removeFolder(nodes.Text(node));
            platform::repaintPending();
        }
        cleaner.removeFolder({});
        RemoveRecord();
        ProgressBar->hide();
        note = TrashNote(cleaner.trashed(), cleaner.deleted());
    }
    UpdateButtons();
    return note;
}
