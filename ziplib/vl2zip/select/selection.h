#pragma once

#include "ziplib/vl2zip/select/options.h"

#include <string>
#include <string_view>
#include <vector>

namespace ziplib {

// The files or entries that the caller's names and patterns select.
//
// With `recurse`, a pattern without a folder part is matched against the names in every folder, and
// one with a folder part against the whole path, where "*" matches "/" too. Otherwise a pattern
// selects files of exactly that folder.
class Selection {
  public:
    Selection(const std::vector<std::string> &patterns, bool recurse);

    // True if the file of this path below the root is selected.
    bool selectsFile(std::string_view path);
    // With `recurse`, true if the folder is selected, like a file of its name; else false.
    bool selectsFolder(std::string_view path) { return m_recurse && selectsFile(path); }
    // True if the entry is to be deleted: patterns are matched against its whole path and, with
    // `recurse`, against its name.
    bool selectsEntry(std::string_view path);

    // True if files in folders below the root may be selected.
    bool needsFolders() const { return m_needsFolders; }
    // The first pattern that has matched nothing so far, or null.
    const std::string *unmatched() const;

  private:
    struct Pattern {
        std::string given; // as the caller wrote it
        std::string text;
        std::size_t depth = 0; // number of folders in it
        bool matched = false;
    };

    std::vector<Pattern> m_patterns;
    bool m_recurse;
    bool m_needsFolders;
};

} // namespace ziplib
