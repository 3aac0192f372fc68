#pragma once

#include "ziplib/vl2zip.h"
#include "ziplib/vl2zip/select/packedVersions.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
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
    void add(std::string_view path, const BaseVersion &version) {
        (version.written == VL2ZIP_KNOWN ? m_known : m_versions).add(path, version);
    }

    // The versions of a candidate: `base` and `known`, none for kNoVersion.
    std::optional<BaseVersion> find(std::uint32_t base) const { return find(m_versions, base); }
    std::optional<BaseVersion> findKnown(std::uint32_t known) const { return find(m_known, known); }

    // For each file among the candidates: stores what the base holds for it, and whether its entry
    // was changed, added or removed since then, and the user knows it. Only these need a decision:
    // for the others, the folder alone differs from the base. If no file was written for the entry
    // of a candidate, but one for an entry whose path differs in case only and that has no other
    // file in the folder, the candidate becomes that entry's. Calls `idle` often.
    void mark(const Directory &directory, const EntryPaths &entries, Scan &scan,
              const std::function<void()> &idle, std::vector<Candidate> &candidates) const;

  private:
    static std::optional<BaseVersion> find(const PackedVersions &versions, std::uint32_t number) {
        if (number == kNoVersion)
            return std::nullopt;
        return versions.at(number);
    }
    std::unordered_multimap<std::string, std::uint32_t> writtenByFold() const;

    PackedVersions m_versions;
    PackedVersions m_known; // VL2ZIP_KNOWN
};

} // namespace ziplib
