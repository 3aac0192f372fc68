#include "ziplib/vl2zip/plan.h"

#include "ziplib/container/names.h"
#include "ziplib/container/utf8.h"
#include "ziplib/vl2zip/selection.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace ziplib {

namespace {

// The longest name that the game's own reader takes.
constexpr std::size_t kLongestName = 209;

// The path that a file has in the archive.
std::string_view storedPath(const PackOptions &options, const FoundFile &file) {
    return options.junkFolders ? lastComponent(file.path) : std::string_view(file.path);
}

class Matcher {
  public:
    Matcher(const EntryPaths &entries, const PackOptions &options, const Scan &scan,
            const std::function<void()> &idle)
        : m_exact(entries), m_options(options), m_scan(scan), m_idle(idle) {}

    std::size_t entryFor(std::string_view path);

  private:
    struct Fold {
        std::size_t entries = 0; // with different paths
        std::size_t entry = kNoEntry;
        std::size_t files = 0;
    };
    void makeFolds();

    const EntryPaths &m_exact;
    const PackOptions &m_options;
    const Scan &m_scan;
    const std::function<void()> &m_idle;
    std::optional<std::unordered_map<std::string, Fold>> m_folds; // made once it is needed
};

void Matcher::makeFolds() {
    m_folds.emplace();
    m_folds->reserve(m_exact.size());
    m_exact.each([&](std::string_view path, std::size_t entry) {
        Fold &fold = (*m_folds)[foldCase(path)];
        ++fold.entries;
        fold.entry = entry;
        m_idle();
    });
    for (const auto &file : m_scan.files) {
        const auto found = m_folds->find(foldCase(storedPath(m_options, file)));
        if (found != m_folds->end()) {
            ++found->second.files;
        }
        m_idle();
    }
}

std::size_t Matcher::entryFor(std::string_view path) {
    if (const auto found = m_exact.find(path); found != kNoEntry) {
        return found;
    }
    if (m_exact.empty()) {
        return kNoEntry;
    }
    if (!m_folds) {
        makeFolds();
    }
    const auto found = m_folds->find(foldCase(path));
    const bool only =
        found != m_folds->end() && found->second.entries == 1 && found->second.files == 1;
    return only ? found->second.entry : kNoEntry;
}

Outcome refuse(std::string_view path, const std::string &reason) {
    return {Code::CannotOpen, std::string(path) + ": cannot be packed under this name: " + reason};
}

// A name that is new in the archive must be one that comes out again as it went in.
Outcome checkNewName(std::string_view path) {
    if (path.find('\\') != std::string::npos) {
        return refuse(path, "it holds a backslash, which archives read as a folder's end");
    }
    if (!isUtf8(path)) {
        return refuse(path, "it is not valid text");
    }
    if (const char *reason = unsafeReason(path)) {
        return refuse(path, reason);
    }
    if (path.size() > kLongestName) {
        return refuse(path, "it is longer than the " + std::to_string(kLongestName) +
                                " bytes that the game can read");
    }
    return {};
}

} // namespace

Outcome planTasks(const PackOptions &options, Selection &selection, Scan &scan,
                  const EntryPaths &entries, const std::function<void()> &idle,
                  std::vector<Task> &tasks) {
    Matcher matcher(entries, options, scan, idle);
    std::unordered_set<std::string_view> seen;
    tasks.reserve(scan.files.size());
    for (std::size_t i = 0; i < scan.files.size(); ++i) {
        const FoundFile &file = scan.files[i];
        idle();
        if (!selection.wantsFile(file.path)) {
            continue;
        }
        Task task;
        task.file = i;
        task.path = storedPath(options, file);
        task.entry = matcher.entryFor(task.path);
        if (options.junkFolders && !seen.insert(task.path).second) {
            return refuse(file.path, "without its folder another file has the same name");
        }
        if (task.entry == kNoEntry) {
            if (!options.addNew) {
                continue;
            }
            if (auto checked = checkNewName(task.path); !checked.ok()) {
                return checked;
            }
        }
        tasks.push_back(std::move(task));
    }
    if (!options.folderEntries || options.junkFolders || !options.addNew) {
        return {};
    }
    for (std::size_t i = 0; i < scan.folders.size(); ++i) {
        Task task;
        task.file = i;
        task.folder = true;
        task.path = scan.folderPaths.emplace_back(scan.folders[i].path + '/');
        if (matcher.entryFor(task.path) != kNoEntry) {
            continue;
        }
        if (auto checked = checkNewName(task.path); !checked.ok()) {
            return checked;
        }
        tasks.push_back(std::move(task));
    }
    return {};
}

} // namespace ziplib
