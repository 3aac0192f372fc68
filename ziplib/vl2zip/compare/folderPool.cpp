#include "ziplib/vl2zip/compare/folderPool.h"

#include "ziplib/vl2zip/select/scan.h"

#include <algorithm>

namespace ziplib {

std::unique_ptr<PooledFolder> FolderPool::take(std::string_view path) {
    const std::lock_guard lock(m_mutex);
    if (m_free.empty())
        return std::make_unique<PooledFolder>();
    const auto same = std::find_if(m_free.begin(), m_free.end(),
                                   [&](const auto &pooled) { return pooled->path == path; });
    std::swap(*(same == m_free.end() ? m_free.begin() : same), m_free.back());
    auto taken = std::move(m_free.back());
    m_free.pop_back();
    return taken;
}

FolderPool::Use::Use(FolderPool &pool, std::string_view path)
    : m_pool(pool), m_folder(pool.take(path)) {
    if (!m_folder->folder.isOpen() || m_folder->path != path) {
        m_folder->path = path;
        // Whoever needs it finds out why it cannot be opened.
        static_cast<void>(m_folder->folder.open({pool.m_root, m_folder->path}));
    }
}

FolderPool::Use::~Use() {
    const std::lock_guard lock(m_pool.m_mutex);
    m_pool.m_free.push_back(std::move(m_folder));
}

const platform::Folder *FolderPool::Use::folder() const {
    return m_folder->folder.isOpen() ? &m_folder->folder : nullptr;
}

} // namespace ziplib
