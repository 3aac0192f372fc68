#include "ziplib/vl2zip/select/base.h"

#include "storage/utf8.h"
#include "ziplib/format/directory.h"
#include "ziplib/vl2zip/select/entryPaths.h"
#include "ziplib/vl2zip/select/scan.h"

#include <optional>
#include <unordered_set>

namespace ziplib {

std::unordered_multimap<std::string, std::uint32_t> Base::writtenByFold() const {
    std::unordered_multimap<std::string, std::uint32_t> found;
    m_versions.each([&](std::uint32_t number) {
        if (m_versions.at(number).written != VL2ZIP_LISTED)
            found.emplace(platform::foldCase(m_versions.path(number)), number);
    });
    return found;
}

void Base::mark(const Directory &directory, const EntryPaths &entries, Scan &scan,
                const std::function<void()> &idle, std::vector<Candidate> &candidates) const {
    std::optional<decltype(writtenByFold())> owners; // created when needed
    std::unordered_set<std::uint32_t> owned;
    const auto setKnown = [&](Candidate &candidate, std::uint32_t version) {
        if (candidate.extras != 0 || version != kNoVersion)
            scan.makeExtras(candidate).known = version;
    };
    const auto clearTwins = [&](Candidate &candidate) {
        if (candidate.extras != 0)
            scan.makeExtras(candidate).twins.clear();
    };
    // Makes the candidate its owner's; false if it has none.
    const auto giveToOwner = [&](Candidate &candidate) {
        if (!owners)
            owners = writtenByFold();
        const auto [begin, end] = owners->equal_range(platform::foldCase(scan.pathOf(candidate)));
        for (auto owner = begin; owner != end; ++owner) {
            const std::uint32_t version = owner->second;
            const std::string path = m_versions.path(version);
            if (scan.hasFile(path) || !owned.insert(version).second)
                continue;
            scan.makeExtras(candidate).path = path;
            candidate.entry = entries.find(path);
            candidate.base = version;
            clearTwins(candidate);
            return true;
        }
        return false;
    };
    for (Candidate &candidate : candidates) {
        idle();
        if (candidate.folder)
            continue;
        const std::string ownPath(scan.pathOf(candidate));
        candidate.base = m_versions.find(ownPath);
        setKnown(candidate, m_known.find(ownPath));
        // Whatever a file is, the user knows what it is packed over.
        const std::optional<BaseVersion> ofPath = find(candidate.base);
        const auto hasTwins = [&] { return !scan.extrasOf(candidate).twins.empty(); };
        const bool isOwn = scan.extrasOf(candidate).known != kNoVersion ||
                           (ofPath ? ofPath->written != VL2ZIP_LISTED : !hasTwins());
        if (isOwn)
            clearTwins(candidate);
        const bool isOfUnknown = !isOwn && !giveToOwner(candidate) && hasTwins();
        if (isOfUnknown)
            candidate.base = kNoVersion;
        if (candidate.entry == kNoEntry) {
            candidate.disputed = candidate.base != kNoVersion ? 1 : 0;
            continue;
        }
        const Entry entry = directory.entries()[candidate.entry];
        // The entry's path may differ from the file's in case.
        const std::string path = directory.path(entry);
        const auto isEntry = [&](const std::optional<BaseVersion> &version) {
            return version && version->isOf(entry.size, entry.crc);
        };
        if (!isOfUnknown && path != scan.pathOf(candidate)) {
            const std::uint32_t ofEntry = m_versions.find(path);
            if (candidate.base == kNoVersion || isEntry(find(ofEntry)))
                candidate.base = ofEntry;
        }
        if (path != ownPath)
            setKnown(candidate, m_known.find(path));
        candidate.settled = isEntry(findKnown(scan.extrasOf(candidate).known)) ? 1 : 0;
        candidate.disputed = isEntry(find(candidate.base)) ? 0 : 1;
    }
}

} // namespace ziplib
