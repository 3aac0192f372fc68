#pragma once

#include "ziplib/common/pattern.h"
#include "ziplib/format/directory.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace ziplib {

// The names that a caller gave: entries that are wanted, and entries that are left out of these. A
// name means the entry of that name; if there is none, the entries that the caller sees under it,
// because its code page lacks some of their letters; and only if there are none of these, a name
// with "*" or "?" is a pattern.
class NameFilter {
  public:
    // The names are paths with either separator; no wanted ones means all. If there are names, goes
    // through the directory, calling `keepGoing` often.
    NameFilter(const std::vector<std::string> &wanted, const std::vector<std::string> &unwanted,
               bool ignoreCase, const Directory &directory, const platform::KeepGoing &keepGoing);

    // True for an entry that is wanted. `path` is decoded, with "/" separators.
    bool accepts(const std::string &path);
    // True if wanted names were given.
    bool isSelective() const { return !m_wanted.empty(); }
    // The wanted names that matched nothing so far.
    std::vector<std::string> unmatched() const;

  private:
    // What a name means, by rising priority.
    enum class Meaning { Pattern, SeenAs, Own };

    struct Name {
        std::string text;
        bool wildcards = false;
        Meaning meaning = Meaning::Pattern;
        bool matched = false;
    };

    class List {
      public:
        List(const std::vector<std::string> &names, bool ignoreCase);
        bool empty() const { return m_names.empty(); }
        // Raises the meaning of the names that mean this entry of the archive.
        void resolve(const std::string &path);
        bool matches(const std::string &path);
        const std::vector<Name> &names() const { return m_names; }

      private:
        // The name that equals this path, or what the caller sees of it.
        Name *find(const std::string &path, Meaning meaning);

        PatternRules m_rules;
        std::vector<Name> m_names;
        std::vector<std::size_t> m_patterns; // indexes of those with wildcards
        std::unordered_map<std::string, std::size_t> m_exact;
    };

    List m_wanted;
    List m_unwanted;
};

} // namespace ziplib
