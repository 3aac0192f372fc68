#include "ziplib/vl2zip/select/base.h"

#include "storage/utf8.h"
#include "ziplib/format/directory.h"
#include "ziplib/vl2zip/select/entryPaths.h"
#include "ziplib/vl2zip/select/scan.h"

#include <optional>
#include <unordered_set>

namespace ziplib {

const BaseVersion *Base::find(const Versions &versions, const std::string &path) {
    const auto found = versions.find(path);
    return found == versions.end() ? nullptr : &found->second;
}

std::unordered_multimap<std::string, const Base::Versions::value_type *>
Base::writtenByFold() const {
    std::unordered_multimap<std::string, const Versions::value_type *> found;
    for (const auto &version : m_versions)
        if (version.second.written != VL2ZIP_LISTED)
            found.emplace(platform::foldCase(version.first), &version);
    return found;
}

void Base::mark(const Directory &directory, const EntryPaths &entries, const Scan &scan,
                const std::function<void()> &idle, std::vector<Candidate> &candidates) const {
    std::optional<decltype(writtenByFold())> owners; // created when needed
    std::unordered_set<const BaseVersion *> owned;
    // Makes the candidate its owner's; false if it has none.
    const auto giveToOwner = [&](Candidate &candidate) {
        if (!owners)
            owners = writtenByFold();
        const auto [begin, end] = owners->equal_range(platform::foldCase(candidate.path));
        for (auto owner = begin; owner != end; ++owner) {
            const auto &[path, version] = *owner->second;
            if (scan.hasFile(path) || !owned.insert(&version).second)
                continue;
            candidate.path = path;
            candidate.entry = entries.find(path);
            candidate.base = &version;
            candidate.twins.reset();
            return true;
        }
        return false;
    };
    for (Candidate &candidate : candidates) {
        idle();
        if (candidate.folder)
            continue;
        candidate.base = find(m_versions, std::string(candidate.path));
        candidate.known = find(m_known, std::string(candidate.path));
        // Whatever a file is, the user knows what it is packed over.
        const bool isOwn = candidate.known != nullptr ||
                           (candidate.base != nullptr ? candidate.base->written != VL2ZIP_LISTED
                                                      : candidate.twins == nullptr);
        if (isOwn)
            candidate.twins.reset();
        const bool isOfUnknown = !isOwn && !giveToOwner(candidate) && candidate.twins != nullptr;
        if (isOfUnknown)
            candidate.base = nullptr;
        if (candidate.entry == kNoEntry) {
            candidate.disputed = candidate.base != nullptr;
            continue;
        }
        const Entry &entry = directory.entries()[candidate.entry];
        // The entry's path may differ from the file's in case.
        const std::string path = directory.path(entry);
        const BaseVersion *ofEntry = isOfUnknown ? nullptr : find(m_versions, path);
        if (candidate.base == nullptr ||
            (ofEntry != nullptr && ofEntry->isOf(entry.size, entry.crc)))
            candidate.base = ofEntry;
        candidate.known = find(m_known, path);
        candidate.settled =
            candidate.known != nullptr && candidate.known->isOf(entry.size, entry.crc);
        candidate.disputed =
            candidate.base == nullptr || !candidate.base->isOf(entry.size, entry.crc);
    }
}

} // namespace ziplib
