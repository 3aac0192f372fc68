#pragma once

#include "ziplib/container/pattern.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace ziplib {

// The names that a caller gave: which entries it wants, and which of these not. A name is taken as
// it is first, so that a file called "map[1].mis" can be named; one with "*" or "?" also stands for
// all that fit it.
class NameFilter {
  public:
    // `names` are paths in the narrow code page with either separator; no wanted ones means all.
    NameFilter(const std::vector<std::string> &wanted, const std::vector<std::string> &unwanted,
               bool ignoreCase);

    // True for an entry that is wanted. `path` is decoded, with "/" separators.
    bool accepts(const std::string &path);
    // True where names were given at all.
    bool isSelective() const { return !m_wanted.empty(); }
    // The wanted names that nothing fitted so far.
    std::vector<std::string> unmatched() const;

  private:
    struct Name {
        std::string text;
        bool wildcards = false;
        bool matched = false;
    };

    class List {
      public:
        List(const std::vector<std::string> &names, bool ignoreCase);
        bool empty() const { return m_names.empty(); }
        bool matches(const std::string &path);
        const std::vector<Name> &names() const { return m_names; }

      private:
        PatternRules m_rules;
        std::vector<Name> m_names;
        std::vector<std::size_t> m_patterns; // indexes of those with wildcards
        std::unordered_map<std::string, std::size_t> m_exact;
    };

    List m_wanted;
    List m_unwanted;
};

} // namespace ziplib
