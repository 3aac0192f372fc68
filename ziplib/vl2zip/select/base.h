#pragma once

#include "ziplib/vl2zip.h"
#include "ziplib/vl2zip/select/candidate.h"

#include <algorithm>
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
    // In place of an earlier version of the path, but a version that is known only beside one that
    // was extracted.
    void add(const std::string &path, const BaseVersion &version) {
        Versions &versions = version.written == VL2ZIP_KNOWN ? m_known : m_versions;
        BaseVersion &earlier = versions[path];
        const std::int32_t written = std::max(earlier.written, version.written);
        earlier = version;
        earlier.written = written;
    }

    // For each file among the candidates: stores what the base holds for it, and whether its entry
    // was changed, added or removed since then, and the user knows it. Only these need a decision:
    // for the others, the folder alone differs from the base. If no file was written for the entry
    // of a candidate, but one for an entry whose path differs in case only and that has no other
    // file in the folder, the candidate becomes that entry's. Calls `idle` often.
    void mark(const Directory &directory, const EntryPaths &entries, const Scan &scan,
              const std::function<void()> &idle, std::vector<Candidate> &candidates) const;

  private:
    using Versions = std::unordered_map<std::string, BaseVersion>; // by path

    static const BaseVersion *find(const Versions &versions, const std::string &path);
    std::unordered_multimap<std::string, const Versions::value_type *> writtenByFold() const;

    Versions m_versions;
    Versions m_known; // VL2ZIP_KNOWN
};

} // namespace ziplib
