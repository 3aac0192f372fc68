#pragma once

#include "ziplib/vl2zip/select/candidate.h"

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace ziplib {

class Directory;

// What the archive held when the files of the folder were extracted from it: the base of a
// three-way merge of the folder and the archive.
class Base {
  public:
    void add(std::string path, const BaseVersion &version) {
        m_versions.insert_or_assign(std::move(path), version);
    }

    // For each file among the candidates: stores what the base holds for it, and whether its entry
    // was changed, added or removed since then. Only these need a decision: for the others, the
    // folder alone differs from the base. Calls `idle` often.
    void mark(const Directory &directory, const std::function<void()> &idle,
              std::vector<Candidate> &candidates) const;

  private:
    const BaseVersion *find(const std::string &path) const;

    std::unordered_map<std::string, BaseVersion> m_versions; // by path
};

} // namespace ziplib
