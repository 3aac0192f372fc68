#pragma once

#include "storage/storage.h"

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace ziplib {

struct PooledFolder {
    std::string path;
    platform::Folder folder;
};

// Folders below a root that are held open for the threads that work through their files, one for
// each thread: a thread that stays in a folder opens it once.
class FolderPool {
  public:
    explicit FolderPool(std::string root) : m_root(std::move(root)) {}

    class Use {
      public:
        Use(FolderPool &pool, std::string_view path);
        ~Use();
        Use(const Use &) = delete;
        Use &operator=(const Use &) = delete;

        // Null where it cannot be opened.
        const platform::Folder *folder() const;

      private:
        FolderPool &m_pool;
        std::unique_ptr<PooledFolder> m_folder;
    };

  private:
    std::unique_ptr<PooledFolder> take(std::string_view path);

    std::string m_root;
    std::mutex m_mutex;
    std::vector<std::unique_ptr<PooledFolder>> m_free;
};

} // namespace ziplib
