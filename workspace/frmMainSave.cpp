#include "platform/error.h"
#include "platform/files.h"
#include "platform/forms.h"
#include "platform/workFolderCleaner.h"
#include "workspace/controls.h"
#include "workspace/frmMain.h"
#include "workspace/reasons.h"

#include <QComboBox>
#include <QDirIterator>
#include <QProgressBar>

namespace {

constexpr std::int32_t kNothingMatched = 11; // a code of the library

constexpr const char *kPartly = "was saved, but not all of it";

bool HoldsNoFile(const QString &folder) {
    const QDir::Filters files = QDir::Files | QDir::Hidden | QDir::System;
    return !QDirIterator(folder, files, QDirIterator::Subdirectories).hasNext();
}

} // namespace

void frmMain::cmdSaveChanges_Click() {
    platform::setMousePointer(this, 11);
    DisableWindow();
    const QString failure = PackWorkFolder();
    if (failure.isEmpty()) {
        const auto packed = m_cZ->TakePacked();
        CleanUpWorkFolder(packed ? &*packed : nullptr);
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
    CleanUpWorkFolder(nullptr);
    platform::setMousePointer(this, 0);
    EnableWindow();
}

QString frmMain::PackWorkFolder() {
    const QString folder = platform::nativePath(WorkFolder());
    QString reason;
    QString outcome = "was not saved";
    bool noFile = false;
    try {
        // Packed into a new archive, the entries that were never extracted would be missing.
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
        noFile = code == kNothingMatched && HoldsNoFile(folder);
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

// Every step that fails is skipped: what cannot be deleted stays.
void frmMain::CleanUpWorkFolder(const platform::PackedFiles *packed) {
    if (FileExists(ProbeFile()) != 0) {
        const ArchiveNodes &nodes = m_tree->Nodes();
        ShowProgressBar(m_lines->Count() - 1);
        platform::WorkFolderCleaner cleaner(WorkFolder());
        // What an editor wrote while the archive was being saved may not be in it.
        if (packed != nullptr)
            cleaner.deleteOnly(*packed);
        for (int line = 0; line < m_lines->Count(); ++line) {
            const QString file = m_lines->Text(line);
            // A read-only file goes as well; only one that stays needs its attributes cleared.
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
        ProgressBar->hide();
    }
    UpdateButtons();
}
