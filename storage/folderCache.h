#pragma once

#include "storage/storage.h"

#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace platform {

// A folder that a FolderCache holds open.
struct OpenFolder {
    Folder folder;
    bool made = false; // created by FolderCache::openFolder
};

// The folders below a root folder, the most recently used of them open. Each is opened in its
// parent's handle, one path component at a time, so that no link below the root is followed. May be
// used by several threads.
class FolderCache {
  public:
    explicit FolderCache(Folder root, std::size_t mostOpen = kMostOpen);
    virtual ~FolderCache() = default;
    FolderCache(const FolderCache &) = delete;
    FolderCache &operator=(const FolderCache &) = delete;

    // `path` is relative to the root, with "/" between its components; "" is the root. The folder
    // stays open at least as long as `folder` refers to it. On failure `folder` is null: WrongKind
    // if a component is no folder, NotFound if the root is not open.
    Status get(std::string_view path, std::shared_ptr<const OpenFolder> &folder);
    // Closes the folder and all folders below it that are not in use.
    void close(const std::string &path);
    // Closes all folders but the root that are not in use.
    void closeAll();

  protected:
    // Opens a folder of `parent`, whose own path is `path` without its last component.
    virtual Status openFolder(const Folder &parent, const std::string &path,
                              const std::string &name, OpenFolder &opened);

  private:
    // A process may be limited to 64 open files.
    static constexpr std::size_t kMostOpen = 16;

    struct Item {
        std::string path;
        std::shared_ptr<const OpenFolder> folder;
    };

    Status find(std::string_view path, std::shared_ptr<const OpenFolder> &folder);

    const std::shared_ptr<OpenFolder> m_root;
    const std::size_t m_mostOpen;
    std::mutex m_mutex;
    std::list<Item> m_items; // the most recently used first
};

} // namespace platform
