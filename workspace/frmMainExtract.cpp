#include "platform/error.h"
#include "platform/files.h"
#include "platform/forms.h"
#include "platform/sweep.h"
#include "workspace/controls.h"
#include "workspace/frmMain.h"
#include "workspace/reasons.h"

namespace {

// Makes one folder; one that is there already, or cannot be made, is no reason to stop.
void makeFolderQuietly(const QString &path) {
    try {
        platform::makeFolder(path);
    } catch (const platform::RuntimeError &) { // NOLINT(bugprone-empty-catch): told above
    }
}

} // namespace

void frmMain::cmdExtract_Click() {
    lblStatus->SetText("Please wait. Extracting files...");
    DisableWindow();
    platform::setMousePointer(this, 11);
    platform::repaintPending();
    for (int i = 1; i <= m_cUnzip->FileCount(); ++i)
        m_cUnzip->setFileSelected(i, true);
    m_cUnzip->setUnzipFolder(PrepareWorkFolder());
    const bool incomplete = m_cUnzip->Unzip();
    ClearFileAttributes();
    platform::setMousePointer(this, 0);
    EnableWindow();
    lblStatus->SetText("Select a file to edit.");
    UpdateButtons();
    if (incomplete)
        ShowNote("Not every file was extracted: " +
                 Reason(m_cUnzip->LastCode(), m_cUnzip->LastMessage()) +
                 ". What is missing stays in the archive.");
}

QString frmMain::PrepareWorkFolder() {
    if (WorkFolderSetting().isEmpty())
        SetDefaultWorkFolder();
    QString folder = WorkFolder();
    makeFolderQuietly(WorkFolders());
    makeFolderQuietly(folder);
    m_cUnzip->setPromptToOverwrite(false);
    m_cUnzip->setUseFolderNames(true);
    return folder;
}

void frmMain::ClearFileAttributes() {
    if (FileExists(ProbeFile()) == 0)
        return;
    platform::Sweep sweep(WorkFolder());
    for (int line = 0; line < m_lines->Count(); ++line) {
        sweep.clearAttributes(m_lines->Text(line));
        if ((line & 0x3F) == 0)
            platform::repaintPending();
    }
}
