#include "ziplib/vl2uzip/folderTree.h"

namespace ziplib {

using platform::Failure;
using platform::Status;

Status FolderTree::openFolder(const platform::Folder &parent, const std::string &path,
                              const std::string &name, platform::OpenFolder &opened) {
    opened.made = m_made.count(path) != 0;
    if (!opened.made) {
        Status made = parent.makeFolder(name);
        if (!made.ok() && !made.is(Failure::Exists))
            return made;
        opened.made = made.ok();
        // A disk may treat another spelling as the name of a folder that this call created. On
        // systems where every disk does so, paths are planned accordingly.
        platform::FileInfo info;
        if (!platform::namesIgnoreCase() && parent.info(name, info).ok()) {
            opened.made = opened.made || m_madeFolders.holds(info);
            if (opened.made)
                m_madeFolders.add(info);
        }
    }
    Status status = parent.openFolder(name, opened.folder);
    if (status.ok() && opened.made)
        m_made.insert(path);
    return status;
}

} // namespace ziplib
