#include "ziplib/vl2zip/compare/detectChanges.h"

#include "ziplib/common/orderedParallelFor.h"
#include "ziplib/common/returnCode.h"
#include "ziplib/common/threadPool.h"
#include "ziplib/format/names.h"
#include "ziplib/vl2zip/compare/compareFile.h"
#include "ziplib/vl2zip/compare/sourceFile.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

namespace ziplib {

namespace {

using Kind = platform::FileInfo::Kind;
using platform::Folder;

// What a folder with nothing in it costs to look at, measured in files.
constexpr std::uint64_t kFolderCost = 8;
// Makes folders of some 64 files the most that a thread takes at a time.
constexpr std::uint64_t kFileCost = 64U << 10U;

struct Known {
    const std::string *path = nullptr;
    std::vector<const FoundFile *> files;   // directly in it, sorted by name
    std::vector<const FoundFile *> folders; // the same
    Status looked;
    std::string changed;
};

// The folders of a scan, each with what lies in it.
std::vector<Known> knownFolders(const Scan &scan, const std::string &root) {
    std::vector<Known> known(scan.folders.size() + 1);
    std::unordered_map<std::string_view, std::size_t> places;
    known[0].path = &root;
    places.emplace(root, 0);
    for (std::size_t i = 0; i < scan.folders.size(); ++i) {
        known[i + 1].path = &scan.folders[i].path;
        places.emplace(scan.folders[i].path, i + 1);
    }
    for (const auto &folder : scan.folders)
        known[places.at(folderOf(folder.path))].folders.push_back(&folder);
    for (const auto &file : scan.files)
        known[places.at(folderOf(file.path))].files.push_back(&file);
    return known;
}

class FolderCheck {
  public:
    FolderCheck(const PackOptions &options, bool recurse, const Scan &scan, Known &known)
        : m_options(options), m_recurse(recurse), m_scan(scan), m_known(known) {}

    void run();

  private:
    Status compare(const platform::FolderItem &item);
    Status compareFile(const std::string &name, const FoundFile &file);
    bool timesTell(const FoundFile &file) const;
    bool holdsWhatWasPacked(const FoundFile &file) const;
    void changed(std::string_view name) {
        m_known.changed = *m_known.path;
        m_known.changed += m_known.changed.empty() ? "" : "/";
        m_known.changed += name;
    }

    const PackOptions &m_options;
    const bool m_recurse;
    const Scan &m_scan;
    Known &m_known;
    Folder m_folder;
    bool m_keepsInfo = false;
    std::size_t m_file = 0;      // of m_known.files, that comes next
    std::size_t m_subfolder = 0; // of m_known.folders
};

// Whether a change since the scan began shows in the file's times, in whatever steps its disk
// counts them and however far that clock is from this machine's.
bool FolderCheck::timesTell(const FoundFile &file) const {
    return m_scan.began && m_scan.began->device == file.info.device &&
           file.info.changed < m_scan.began->changed;
}

// One that cannot be read counts as changed: whoever packs it then finds out why.
bool FolderCheck::holdsWhatWasPacked(const FoundFile &file) const {
    SourceFile source(m_options.root, file.path, lineEndsOf(m_options));
    source.lieIn(m_folder);
    std::uint32_t crc = 0;
    std::uint64_t size = 0;
    return source.open().ok() && source.measure(crc, size).ok() && source.settled() &&
           sameVersion(source.version(), file.info) && crc == file.crc;
}

Status FolderCheck::compareFile(const std::string &name, const FoundFile &file) {
    if (!file.known)
        return {};
    platform::FileInfo now;
    const auto looked = m_keepsInfo ? m_folder.freshInfo(name, now, Folder::Links::Follow)
                                    : m_folder.info(name, now, Folder::Links::Follow);
    if (!looked.ok() && !looked.is(Failure::NotFound))
        return failure(looked, Failure::CannotOpen);
    if (!looked.ok() || !sameVersion(file.info, now) ||
        (file.packed && !timesTell(file) && !holdsWhatWasPacked(file)))
        m_known.changed = file.path;
    return {};
}

// The items come sorted by name, as what is known does.
Status FolderCheck::compare(const platform::FolderItem &item) {
    const auto isNext = [&](const std::vector<const FoundFile *> &list, std::size_t next) {
        return next < list.size() && lastComponent(list[next]->path) == item.name;
    };
    if (platform::isTemporaryName(item.name))
        return {};
    if (item.kind == Kind::Folder) {
        if (m_recurse && !isNext(m_known.folders, m_subfolder++))
            changed(item.name);
        return {};
    }
    if (isNext(m_known.files, m_file))
        return compareFile(item.name, *m_known.files[m_file++]);
    // Pipes, devices and links that lead to no file are not in a scan.
    platform::FileInfo now;
    if (item.kind == Kind::File ||
        (m_folder.info(item.name, now, Folder::Links::Follow).ok() && now.kind == Kind::File))
        changed(item.name);
    return {};
}

void FolderCheck::run() {
    const std::string &root = m_options.root;
    const auto opened = m_folder.open({root, *m_known.path});
    if (opened.is(Failure::NotFound) || opened.is(Failure::WrongKind)) {
        m_known.changed = m_known.path->empty() ? root : *m_known.path;
        m_known.changed += m_known.changed.empty() ? "." : "";
        return;
    }
    m_keepsInfo = opened.ok() && m_folder.keepsInfo();
    std::vector<platform::FolderItem> items;
    const auto listed = opened.ok() ? m_folder.list(items) : opened;
    m_known.looked = failure(listed, Failure::CannotOpen);
    std::sort(items.begin(), items.end(),
              [](const auto &a, const auto &b) { return a.name < b.name; });
    for (std::size_t i = 0; i < items.size() && m_known.looked.ok() && m_known.changed.empty(); ++i)
        m_known.looked = compare(items[i]);
    if (!m_known.looked.ok() || !m_known.changed.empty())
        return;
    if (m_file < m_known.files.size())
        m_known.changed = m_known.files[m_file]->path;
    else if (m_subfolder < m_known.folders.size())
        m_known.changed = m_known.folders[m_subfolder]->path;
}

} // namespace

Status detectChanges(const PackOptions &options, bool recurse, const Scan &scan,
                     const std::function<void()> &idle, std::string &changed) {
    const std::string top;
    std::vector<Known> folders = knownFolders(scan, top);
    Status looked;
    OrderedParallelFor work;
    work.count = folders.size();
    work.cost = [&](std::size_t i) { return (kFolderCost + folders[i].files.size()) * kFileCost; };
    work.work = [&](std::size_t i) { FolderCheck(options, recurse, scan, folders[i]).run(); };
    work.take = [&](std::size_t i) {
        looked = folders[i].looked;
        changed = folders[i].changed;
        return looked.ok() && changed.empty();
    };
    work.idle = idle;
    orderedParallelFor(work, workerCount(), UINT64_MAX);
    return looked;
}

} // namespace ziplib
