#include "ziplib/vl2zip/select/plan.h"

#include "storage/pathText.h"
#include "storage/utf8.h"
#include "ziplib/format/names.h"
#include "ziplib/vl2zip/select/selection.h"

#include <algorithm>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace ziplib {

namespace {

// The path that a file has in the archive.
std::string_view storedPath(const PackOptions &options, const FoundFile &file) {
    return options.junkFolders ? lastComponent(file.path) : std::string_view(file.path);
}

class Matcher {
  public:
    Matcher(const EntryPaths &entries, const PackOptions &options, const Scan &scan,
            const std::function<void()> &idle)
        : m_exact(entries), m_options(options), m_scan(scan), m_idle(idle) {}

    std::uint32_t entryFor(std::string_view path);

  private:
    struct Fold {
        std::size_t entries = 0; // with different paths
        std::uint32_t entry = kNoEntry;
        std::size_t files = 0;
    };
    void makeFolds();

    const EntryPaths &m_exact;
    const PackOptions &m_options;
    const Scan &m_scan;
    const std::function<void()> &m_idle;
    std::optional<std::unordered_map<std::string, Fold>> m_folds; // created when needed
};

void Matcher::makeFolds() {
    m_folds.emplace();
    m_folds->reserve(m_exact.size());
    m_exact.each([&](std::string_view path, std::uint32_t entry) {
        Fold &fold = (*m_folds)[platform::foldCase(path)];
        ++fold.entries;
        fold.entry = entry;
        m_idle();
    });
    for (const auto &file : m_scan.files) {
        const auto found = m_folds->find(platform::foldCase(storedPath(m_options, file)));
        if (found != m_folds->end())
            ++found->second.files;
        m_idle();
    }
}

std::uint32_t Matcher::entryFor(std::string_view path) {
    if (const auto found = m_exact.find(path); found != kNoEntry)
        return found;
    if (m_exact.empty())
        return kNoEntry;
    if (!m_folds)
        makeFolds();
    const auto found = m_folds->find(platform::foldCase(path));
    const bool only =
        found != m_folds->end() && found->second.entries == 1 && found->second.files == 1;
    return only ? found->second.entry : kNoEntry;
}

std::string refusal(std::string_view path, const std::string &reason) {
    return std::string(path) + ": cannot be packed under this name: " + reason;
}

// True if the new name can be packed; otherwise adds the reason to the scan's `leftOut`.
bool acceptsNewName(std::string_view path, Scan &scan) {
    const std::string reason = reasonAgainstName(path);
    if (!reason.empty())
        scan.leftOut.push_back(refusal(path, reason));
    return reason.empty();
}

// Finds the twins of the candidates. Does nothing if all entries have files.
void findTwins(const EntryPaths &entries, Scan &scan, const std::function<void()> &idle,
               std::vector<Candidate> &candidates) {
    std::vector<bool> matched; // by entry
    std::size_t count = 0;
    for (const Candidate &candidate : candidates) {
        if (candidate.entry == kNoEntry)
            continue;
        matched.resize(std::max<std::size_t>(matched.size(), candidate.entry + 1U));
        count += matched[candidate.entry] ? 0 : 1;
        matched[candidate.entry] = true;
    }
    if (count >= entries.size())
        return;
    std::unordered_multimap<std::uint64_t, Candidate *> byHash; // created when needed
    entries.each([&](std::string_view path, std::uint32_t entry) {
        idle();
        if ((entry < matched.size() && matched[entry]) || path.ends_with('/'))
            return;
        if (byHash.empty()) {
            for (Candidate &candidate : candidates) {
                byHash.emplace(hashWithoutCase(scan.pathOf(candidate)), &candidate);
                idle();
            }
        }
        const auto [begin, end] = byHash.equal_range(hashWithoutCase(path));
        for (auto found = begin; found != end; ++found)
            if (platform::foldCase(scan.pathOf(*found->second)) == platform::foldCase(path) &&
                !scan.hasFile(path))
                scan.makeExtras(*found->second).twins.push_back(entry);
    });
}

// Adds the folders that are selected or hold a candidate.
void addFolders(Selection &selection, Scan &scan, Matcher &matcher,
                std::vector<Candidate> &candidates) {
    std::unordered_set<std::string_view> holding{std::string_view()};
    for (const auto &candidate : candidates) {
        std::string_view folder = folderOf(scan.pathOf(candidate));
        while (holding.insert(folder).second)
            folder = folderOf(folder);
    }
    for (std::size_t i = 0; i < scan.folders.size(); ++i) {
        const std::string_view path = scan.folders[i].path;
        // Called for each folder: the pattern counts as matched then.
        const bool selected = selection.selectsFolder(path);
        if (!selected && holding.find(path) == holding.end())
            continue;
        Candidate candidate;
        candidate.file = static_cast<std::uint32_t>(i);
        candidate.folder = 1;
        const std::string &own = scan.makeExtras(candidate).path = std::string(path) + '/';
        candidate.entry = matcher.entryFor(own);
        if (candidate.entry != kNoEntry || acceptsNewName(own, scan))
            candidates.push_back(candidate);
    }
}

} // namespace

std::uint64_t hashWithoutCase(std::string_view path) {
    std::uint64_t hash = platform::kHashStart;
    for (const char c : path)
        if (platform::isAscii({&c, 1}))
            hash = platform::hashStep(hash, static_cast<char>(c | 0x20));
    return hash;
}

std::string reasonAgainstName(std::string_view path) {
    if (path.find('\\') != std::string::npos)
        return "it holds a backslash, which archives read as a folder's end";
    if (!platform::isUtf8(path))
        return "it is not valid text";
    if (const char *reason = unsafeReason(path))
        return reason;
    if (path.size() > kLongestName) {
        return "it is longer than the " + std::to_string(kLongestName) +
               " bytes that the game can read";
    }
    return {};
}

Status findCandidates(const PackOptions &options, Selection &selection, Scan &scan,
                      const EntryPaths &entries, const std::function<void()> &idle,
                      std::vector<Candidate> &candidates) {
    Matcher matcher(entries, options, scan, idle);
    std::unordered_set<std::string_view> seen;
    candidates.reserve(scan.files.size());
    for (std::size_t i = 0; i < scan.files.size(); ++i) {
        const FoundFile &file = scan.files[i];
        idle();
        if (!selection.selectsFile(file.path))
            continue;
        Candidate candidate;
        candidate.file = static_cast<std::uint32_t>(i);
        const std::string_view path = storedPath(options, file);
        if (path != file.path)
            scan.makeExtras(candidate).path = path;
        candidate.entry = matcher.entryFor(path);
        if (options.junkFolders && !seen.insert(path).second) {
            return {Failure::CannotOpen,
                    refusal(file.path, "without its folder another file has the same name")};
        }
        if (candidate.entry != kNoEntry || (options.addNew && acceptsNewName(path, scan)))
            candidates.push_back(candidate);
    }
    if (!options.junkFolders)
        findTwins(entries, scan, idle, candidates);
    if (options.folderEntries && !options.junkFolders && options.addNew)
        addFolders(selection, scan, matcher, candidates);
    return {};
}

void markObstructed(const EntryPaths &entries, const Scan &scan, const std::function<void()> &idle,
                    std::vector<Candidate> &candidates) {
    std::unordered_map<std::string_view, Candidate *> added;
    for (Candidate &candidate : candidates) {
        if (entries.empty() || candidate.entry != kNoEntry || candidate.folder)
            continue;
        const std::string_view path = scan.pathOf(candidate);
        added.emplace(path, &candidate);
        for (auto folder = folderOf(path); !folder.empty(); folder = folderOf(folder))
            if (entries.find(folder) != kNoEntry)
                candidate.obstructed = 1;
        idle();
    }
    if (added.empty())
        return;
    entries.each([&](std::string_view path, std::uint32_t) {
        idle();
        for (auto folder = folderOf(path); !folder.empty(); folder = folderOf(folder))
            if (const auto found = added.find(folder); found != added.end())
                found->second->obstructed = 1;
    });
}

} // namespace ziplib
