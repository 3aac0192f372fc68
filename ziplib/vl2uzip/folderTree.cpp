#include "ziplib/vl2uzip/folderTree.h"

#include "ziplib/format/names.h"

#include <utility>

namespace ziplib {

namespace {

using platform::Failure;
using platform::Status;

// Below the 64 handles that some systems allow a program; where even these are too many, the
// caller gives them back.
constexpr std::size_t kMostOpen = 32;

} // namespace

FolderTree::FolderTree(platform::Folder root) : m_root(std::make_shared<OpenFolder>()) {
    m_root->folder = std::move(root);
    m_last = m_root;
}

Status FolderTree::get(std::string_view path, std::shared_ptr<OpenFolder> &folder) {
    if (path == m_lastPath) {
        folder = m_last;
        return {};
    }
    if (path.empty()) {
        folder = m_root;
        return {};
    }
    const std::string key(path);
    if (const auto found = m_open.find(key); found != m_open.end()) {
        folder = found->second;
    } else {
        const std::size_t slash = path.rfind('/');
        const std::string_view above =
            slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
        std::shared_ptr<OpenFolder> parent;
        if (Status status = get(above, parent); !status.ok())
            return status;
        const std::string name(lastComponent(path));
        auto opened = std::make_shared<OpenFolder>();
        opened->made = m_made.count(key) != 0;
        if (!opened->made) {
            Status made = parent->folder.makeFolder(name);
            if (!made.ok() && !made.is(Failure::Exists))
                return made;
            opened->made = made.ok();
            // A disk may take another spelling for the name of a folder that this call made. Where
            // the system does so everywhere, paths are planned accordingly.
            platform::FileInfo info;
            if (!platform::namesIgnoreCase() && parent->folder.info(name, info).ok()) {
                opened->made = opened->made || m_madeFolders.holds(info);
                if (opened->made)
                    m_madeFolders.add(info);
            }
        }
        if (Status status = parent->folder.openFolder(name, opened->folder); !status.ok())
            return status;
        if (opened->made)
            m_made.insert(key);
        if (m_open.size() >= kMostOpen)
            m_open.clear();
        m_open.emplace(key, opened);
        folder = std::move(opened);
    }
    m_lastPath = key;
    m_last = folder;
    return {};
}

void FolderTree::release() {
    m_open.clear();
    m_lastPath.clear();
    m_last = m_root;
}

} // namespace ziplib
