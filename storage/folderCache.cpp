#include "storage/folderCache.h"

#include "storage/pathText.h"
#include "storage/utf8.h"

#include <algorithm>
#include <utility>

namespace platform {

namespace {

bool samePath(std::string_view a, std::string_view b) {
    return a == b ||
           (namesIgnoreCase() && std::equal(
                                     a.begin(), a.end(), b.begin(), b.end(),
                                     [](char x, char y) { return foldAscii(x) == foldAscii(y); }));
}

} // namespace

FolderCache::FolderCache(Folder root, std::size_t mostOpen)
    : m_root(std::make_shared<OpenFolder>()), m_mostOpen(mostOpen) {
    m_root->folder = std::move(root);
}

Status FolderCache::openFolder(const Folder &parent, const std::string & /*path*/,
                               const std::string &name, OpenFolder &opened) {
    return parent.openFolder(name, opened.folder);
}

Status FolderCache::get(std::string_view path, std::shared_ptr<const OpenFolder> &folder) {
    const std::lock_guard lock(m_mutex);
    folder = nullptr;
    if (!m_root->folder.isOpen())
        return {Failure::NotFound, "cannot open the folder " + m_root->folder.path(),
                m_root->folder.path()};
    return find(path, folder);
}

Status FolderCache::find(std::string_view path, std::shared_ptr<const OpenFolder> &folder) {
    if (path.empty()) {
        folder = m_root;
        return {};
    }
    const auto known = std::find_if(m_items.begin(), m_items.end(),
                                    [&](const Item &item) { return samePath(item.path, path); });
    if (known != m_items.end()) {
        m_items.splice(m_items.begin(), m_items, known);
        folder = known->folder;
        return {};
    }
    std::shared_ptr<const OpenFolder> parent;
    if (Status status = find(folderOf(path), parent); !status.ok())
        return status;
    auto opened = std::make_shared<OpenFolder>();
    const std::string whole(path);
    if (Status status =
            openFolder(parent->folder, whole, std::string(lastComponent(path)), *opened);
        !status.ok())
        return status;
    folder = std::move(opened);
    m_items.push_front({whole, folder});
    if (m_items.size() > m_mostOpen)
        m_items.pop_back();
    return {};
}

void FolderCache::close(const std::string &path) {
    const std::lock_guard lock(m_mutex);
    m_items.remove_if([&](const Item &item) {
        return samePath(std::string_view(item.path + '/').substr(0, path.size() + 1), path + '/');
    });
}

void FolderCache::closeAll() {
    const std::lock_guard lock(m_mutex);
    m_items.clear();
}

} // namespace platform
