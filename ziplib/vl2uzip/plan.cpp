#include "ziplib/vl2uzip/plan.h"

#include "storage/pathText.h"
#include "storage/storage.h"
#include "storage/utf8.h"
#include "ziplib/format/names.h"

#include <algorithm>
#include <unordered_set>

namespace ziplib {

namespace {

// Paths are compared by 64-bit hashes to keep half a million of them small. An archive crafted with
// two paths of one hash only loses an entry of its own.
class Paths {
  public:
    // Adds a target and all folders above it.
    void add(std::string_view path, std::size_t item) {
        if (m_ignoreCase) {
            m_folded = platform::foldCase(path);
            path = m_folded;
        }
        std::uint64_t hash = platform::kHashStart;
        for (std::size_t i = 0; i < path.size(); ++i) {
            if (path[i] == '/' && hash != m_lastFolder)
                m_folders.insert(hash);
            if (path[i] == '/') {
                m_lastFolder = hash;
                if (i + 1 == path.size())
                    return; // a folder itself
            }
            hash = platform::hashStep(hash, path[i]);
        }
        m_files.push_back({hash, item});
    }

    // Marks the files that share a target with others, and those whose name a folder needs.
    void settle(std::vector<PlanItem> &items, const Directory &directory) {
        std::sort(m_files.begin(), m_files.end(), [](const FileTarget &a, const FileTarget &b) {
            return a.hash != b.hash ? a.hash < b.hash : a.item < b.item;
        });
        for (std::size_t first = 0, end = 0; first < m_files.size(); first = end) {
            while (end < m_files.size() && m_files[end].hash == m_files[first].hash)
                ++end;
            if (m_folders.count(m_files[first].hash) != 0)
                for (std::size_t i = first; i < end; ++i)
                    items[m_files[i].item].action = PlanItem::Action::Blocked;
            else if (end - first > 1)
                share(first, end, items, directory);
        }
    }

  private:
    struct FileTarget {
        std::uint64_t hash;
        std::size_t item;
    };

    // Of entries with one path the last one counts; of those with different paths the first one
    // gets the target, and the others share it.
    void share(std::size_t first, std::size_t end, std::vector<PlanItem> &items,
               const Directory &directory) const {
        std::unordered_set<std::string> paths;
        std::size_t owner = end;
        for (std::size_t i = end; i-- > first;) {
            PlanItem &item = items[m_files[i].item];
            if (!paths.insert(directory.path(directory.entries()[item.index])).second) {
                item.action = PlanItem::Action::Superseded;
                continue;
            }
            item.action = PlanItem::Action::SharesTarget;
            owner = i;
        }
        items[m_files[owner].item].action = PlanItem::Action::File;
    }

    const bool m_ignoreCase = platform::namesIgnoreCase();
    std::string m_folded;
    std::uint64_t m_lastFolder = 0;
    std::unordered_set<std::uint64_t> m_folders;
    std::vector<FileTarget> m_files;
};

PlanItem::Action decide(const Directory &directory, const Entry &entry, const std::string &path,
                        const std::string &target) {
    if (directory.isSpecial(entry))
        return PlanItem::Action::Special;
    if (path == kRootFolder)
        return PlanItem::Action::Folder;
    if (unsafeReason(path) != nullptr || (!target.empty() && unsafeReason(target) != nullptr))
        return PlanItem::Action::Unsafe;
    return directory.isFolder(entry) ? PlanItem::Action::Folder : PlanItem::Action::File;
}

} // namespace

std::string targetPath(const std::string &path, const Request &request) {
    std::string target = request.makeFolders ? path : std::string(lastComponent(path));
    if (request.blanksToUnderscores)
        std::replace(target.begin(), target.end(), ' ', '_');
    return target;
}

Plan makePlan(const Directory &directory, const Request &request, NameFilter &filter,
              const platform::KeepGoing &keepGoing) {
    Plan plan;
    Paths paths;
    const Directory::Entries entries = directory.entries();
    for (std::size_t i = 0; i < entries.size() && keepGoing(); ++i) {
        const Entry entry = entries[i];
        const std::string path = directory.path(entry);
        if (!filter.accepts(path))
            continue;
        PlanItem item{static_cast<std::uint32_t>(i), PlanItem::Action::File};
        if (request.work == Request::Work::Extract) {
            const std::string target = targetPath(path, request);
            item.action = decide(directory, entry, path, target);
            if ((item.action == PlanItem::Action::File ||
                 item.action == PlanItem::Action::Folder) &&
                !target.empty())
                paths.add(target, plan.items.size());
        } else if (directory.isFolder(entry)) {
            item.action = PlanItem::Action::Folder;
        }
        plan.items.push_back(item);
    }
    // Neither this nor the loop below calls back.
    keepGoing();
    paths.settle(plan.items, directory);
    keepGoing();
    for (const PlanItem &item : plan.items) {
        if (item.action == PlanItem::Action::File) {
            const Entry entry = entries[item.index];
            plan.size += std::min(entry.size, UINT64_MAX - plan.size);
            plan.compressedSize += std::min(entry.compressedSize, UINT64_MAX - plan.compressedSize);
        }
    }
    return plan;
}

} // namespace ziplib
