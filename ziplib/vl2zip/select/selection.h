#pragma once

#include "ziplib/vl2zip/options.h"

#include <string>
#include <string_view>
#include <vector>

namespace ziplib {

// Which files or entries the caller's names and patterns mean.
//
// Where folders are searched, a pattern without a folder part is matched against the name in every
// folder, and one with a folder part against the whole path, where "*" stands for folders, too.
// Else a pattern means the files of exactly that folder.
class Selection {
  public:
    Selection(const std::vector<std::string> &patterns, bool recurse);

    // True where a file of the folder, given by its path below the root, is meant.
    bool wantsFile(std::string_view path);
    // True where folders are searched and the folder itself is meant, as a file of its name is.
    bool wantsFolder(std::string_view path) { return m_recurse && wantsFile(path); }
    // True where an entry is to be deleted: patterns are matched against its whole path, and also
    // against its name where folders are searched.
    bool wantsEntry(std::string_view path);

    // True where files below the root may be meant.
    bool needsFolders() const { return m_needsFolders; }
    // The first pattern that has meant nothing yet; null where there is none.
    const std::string *unmatched() const;

  private:
    struct Pattern {
        std::string given; // as the caller wrote it
        std::string text;
        std::size_t depth = 0; // folders in it
        bool matched = false;
    };

    std::vector<Pattern> m_patterns;
    bool m_recurse;
    bool m_needsFolders;
};

} // namespace ziplib
