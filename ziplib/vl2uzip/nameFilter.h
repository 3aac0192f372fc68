#pragma once

#include "ziplib/common/pattern.h"
#include "ziplib/format/directory.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace ziplib {

// The names that a caller gave: which entries it wants, and which of these not. A name means the
// entry of that name; where there is none, the entries that the caller sees under it, since its
// code page lacks letters of theirs; and only where there are none of these, a name with "*" or "?"
// means all that fit it.
class NameFilter {
  public:
    // The names are paths with either separator; no wanted ones means all. Where there are any,
    // looks through the directory, calling `keepGoing` often.
    NameFilter(const std::vector<std::string> &wanted, const std::vector<std::string> &unwanted,
               bool ignoreCase, const Directory &directory, const platform::KeepGoing &keepGoing);

    // True for an entry that is wanted. `path` is decoded, with "/" separators.
    bool accepts(const std::string &path);
    // True where names were given at all.
    bool isSelective() const { return !m_wanted.empty(); }
    // The wanted names that nothing fitted so far.
    std::vector<std::string> unmatched() const;

  private:
    // What a name means, from the least to the most certain.
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
        // An entry of the archive: settles which names mean it.
        void meet(const std::string &path);
        bool matches(const std::string &path);
        const std::vector<Name> &names() const { return m_names; }

      private:
        // The name that is this path, or that the caller sees in its place.
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
