#include "ziplib/vl2zip/select/base.h"

#include "ziplib/format/directory.h"

namespace ziplib {

const BaseVersion *Base::find(const std::string &path) const {
    const auto found = m_versions.find(path);
    return found == m_versions.end() ? nullptr : &found->second;
}

void Base::mark(const Directory &directory, const std::function<void()> &idle,
                std::vector<Candidate> &candidates) const {
    for (Candidate &candidate : candidates) {
        idle();
        if (candidate.folder)
            continue;
        candidate.base = find(std::string(candidate.path));
        if (candidate.entry == kNoEntry) {
            candidate.disputed = candidate.base != nullptr;
            continue;
        }
        const Entry &entry = directory.entries()[candidate.entry];
        // The entry's path may differ from the file's in case. A version of it that the user has
        // seen is stored under the entry's own path.
        const BaseVersion *ofEntry = find(directory.path(entry));
        if (candidate.base == nullptr ||
            (ofEntry != nullptr && ofEntry->isOf(entry.size, entry.crc)))
            candidate.base = ofEntry;
        candidate.disputed =
            candidate.base == nullptr || !candidate.base->isOf(entry.size, entry.crc);
    }
}

} // namespace ziplib
