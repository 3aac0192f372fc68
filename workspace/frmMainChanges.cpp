#include "platform/forms.h"
#include "workspace/changedFiles.h"
#include "workspace/controls.h"
#include "workspace/frmMain.h"

#include <QPushButton>

#include <utility>

void frmMain::LookForChanges() {
    // The button shows that the archive is extracted and that this window works on it.
    if (cmdSaveChanges->isEnabled())
        m_changes->Look(WorkFolders(), WorkFolderName(), [this] { return ListedNow(); });
}

void frmMain::ShowChanges(FolderChanges changes) {
    m_tree->SetChanges(std::move(changes.nodes));
    lblStatus->SetState(changes.note);
}

void frmMain::StopLooking() {
    m_changes->Stop(&platform::repaintPending);
    ShowChanges({});
}
