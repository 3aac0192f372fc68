#pragma once

#include "storage/storage.h"
#include "ziplib/vl2uzip/ownFiles.h"

#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace ziplib {

// A folder below the target, held open.
struct OpenFolder {
    platform::Folder folder;
    bool made = false; // by this call: all that is in it comes from this call
};

// The folders that entries go to. Each is made, where it is missing, and opened in the folder
// above it, never through a path, so that a link on the disk is not followed. A number of them
// stays open.
class FolderTree {
  public:
    explicit FolderTree(platform::Folder root);

    // `path` is relative with "/" between components, "" for the root. WrongKind where something
    // else than a folder stands there.
    platform::Status get(std::string_view path, std::shared_ptr<OpenFolder> &folder);
    // Closes what nobody uses just now.
    void release();

  private:
    std::shared_ptr<OpenFolder> m_root;
    std::unordered_map<std::string, std::shared_ptr<OpenFolder>> m_open;
    // Those that this call has made, open or not.
    std::unordered_set<std::string> m_made;
    OwnFiles m_madeFolders;
    // The last one asked for: entries come folder by folder.
    std::string m_lastPath;
    std::shared_ptr<OpenFolder> m_last;
};

} // namespace ziplib
