#pragma once

#include "ziplib/vl2zip/select/candidate.h"

#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace ziplib {

class Directory;
class EntryPaths;
struct Scan;

// What the archive held when the files of the folder were extracted from it: the base of a
// three-way merge of the folder and the archive.
class Base {
  public:
    // In place of an earlier version of the path.
    void add(const std::string &path, const BaseVersion &version) {
        BaseVersion &known = m_versions[path];
        const bool written = known.written || version.written;
        known = version;
        known.written = written;
    }

    // For each file among the candidates: stores what the base holds for it, and whether its entry
    // was changed, added or removed since then. Only these need a decision: for the others, the
    // folder alone differs from the base. If no file was written for the entry of a candidate, but
    // one for an entry whose path differs in case only and that has no other file in the folder,
    // the candidate becomes that entry's. Calls `idle` often.
    void mark(const Directory &directory, const EntryPaths &entries, const Scan &scan,
              const std::function<void()> &idle, std::vector<Candidate> &candidates) const;

  private:
    using Versions = std::unordered_map<std::string, BaseVersion>; // by path

    const BaseVersion *find(const std::string &path) const;
    std::unordered_multimap<std::string, const Versions::value_type *> writtenByFold() const;

    Versions m_versions;
};

} // namespace ziplib
