#include "workspace/frmMain.h"

#include "platform/files.h"
#include "workspace/archiveTree.h"
#include "workspace/modOther.h"

#include <exception>

namespace {

// The system's form of a folder's path without separators at its end, as a file browser shows it.
QString folderForShell(QString folder) {
    while (folder.endsWith(u'\\') || folder.endsWith(u'/'))
        folder.chop(1);
    return platform::nativePath(folder);
}

} // namespace

void frmMain::cmdOpenFolder_Click() {
    OpenWorkFolder();
}

void frmMain::OpenWorkFolder() {
    try {
        const ArchiveNodes &nodes = m_tree->Nodes();
        const int node = SelectedNode();
        if (node < 1 || node > nodes.Count())
            return;
        const int folder = nodes.HasChildren(node) ? node : nodes.Parent(node);
        const QString path = ExtractedPath(nodes.Text(folder), {});
        if (!path.isEmpty())
            ShellOpen(folderForShell(path));
    } catch (const std::exception &) {
        // Nothing was asked that an answer could be given to.
    }
}
