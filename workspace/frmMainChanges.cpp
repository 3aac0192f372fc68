#include "platform/forms.h"
#include "workspace/changedFiles.h"
#include "workspace/controls.h"
#include "workspace/frmMain.h"
#include "workspace/reasons.h"

#include <QPushButton>

namespace {

constexpr qsizetype kMostListed = 10'000; // paths of new files for the tips

} // namespace

void frmMain::LookForChanges() {
    // The button shows that the archive is extracted and that this window works on it.
    if (cmdSaveChanges->isEnabled())
        m_changes->Look(WorkFolders(), WorkFolderName(), m_listing);
}

void frmMain::ShowChanges(const FolderChanges &changes) {
    ArchiveTree::Changes nodes;
    // Entries of the top level have the folder "".
    const auto folderOf = [](const QString &path) {
        return path.left(qMax<qsizetype>(path.lastIndexOf('\\'), 0));
    };
    for (const QString &path : changes.changed)
        nodes.changed.insert(path.contains('\\') ? path : '\\' + path);
    for (const QString &path : changes.added.mid(0, kMostListed))
        nodes.added[folderOf(path)].append(path.mid(path.lastIndexOf('\\') + 1));
    m_tree->SetChanges(std::move(nodes));
    lblStatus->SetState(ChangesNote(QStringList(changes.changed).replaceInStrings("\\", "/"),
                                    QStringList(changes.added).replaceInStrings("\\", "/")));
}

void frmMain::StopLooking() {
    m_changes->Stop(&platform::repaintPending);
    ShowChanges({});
}
