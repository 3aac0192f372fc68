#pragma once

#include "storage/folderCache.h"
#include "ziplib/vl2uzip/ownFiles.h"

#include <string>
#include <unordered_set>

namespace ziplib {

// The folders that entries are extracted to. A folder that is missing is created.
class FolderTree : public platform::FolderCache {
  public:
    explicit FolderTree(platform::Folder root) : FolderCache(std::move(root), kMostOpen) {}

  protected:
    // `opened.made`: created by this extraction, so that all files in it are of this extraction.
    platform::Status openFolder(const platform::Folder &parent, const std::string &path,
                                const std::string &name, platform::OpenFolder &opened) override;

  private:
    // Half of the 64 files that a process may be limited to.
    static constexpr std::size_t kMostOpen = 32;

    std::unordered_set<std::string> m_made; // paths, open or not
    OwnFiles m_madeFolders;
};

} // namespace ziplib
