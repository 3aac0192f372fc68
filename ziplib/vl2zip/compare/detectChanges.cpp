#include "ziplib/vl2zip/compare/detectChanges.h"

#include "storage/orderedParallelFor.h"
#include "storage/threadPool.h"
#include "ziplib/common/backgroundTask.h"
#include "ziplib/common/returnCode.h"
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

// Cost of an empty folder, in files.
constexpr std::uint64_t kFolderCost = 8;
// A thread works on folders with about 64 files at a time.
constexpr std::uint64_t kFileCost = 64U << 10U;
constexpr std::uint64_t kShortCost = 64 * kFileCost;

// A folder in the scan, and the result of its comparison.
struct ScannedFolder {
    std::string_view path;
    std::vector<const FoundFile *> files;   // directly in it, sorted by name
    std::vector<const FoundFile *> folders; // directly in it, sorted by name
    Status status;
    std::string changed;
};

// The folders of a scan with their contents.
std::vector<ScannedFolder> foldersOf(const Scan &scan) {
    std::vector<ScannedFolder> known(scan.folders.size() + 1);
    std::unordered_map<std::string_view, std::size_t> indices;
    indices.emplace(std::string_view(), 0);
    for (std::size_t i = 0; i < scan.folders.size(); ++i) {
        known[i + 1].path = scan.folders[i].path;
        indices.emplace(scan.folders[i].path, i + 1);
    }
    for (const auto &folder : scan.folders)
        known[indices.at(folderOf(folder.path))].folders.push_back(&folder);
    for (const auto &file : scan.files)
        known[indices.at(folderOf(file.path))].files.push_back(&file);
    return known;
}

class FolderCheck {
  public:
    FolderCheck(const PackOptions &options, bool recurse, const Scan &scan,
                const std::function<void()> &idle, ScannedFolder &folder)
        : m_options(options), m_recurse(recurse), m_scan(scan), m_idle(idle), m_scanned(folder) {}

    void run();

  private:
    Status compare(const platform::FolderItem &item);
    Status compareFile(const std::string &name, const FoundFile &file);
    bool timesShowWrites(const FoundFile &file) const;
    bool hasPackedBytes(const FoundFile &file) const;
    void changed(std::string_view name) {
        m_scanned.changed = m_scanned.path;
        m_scanned.changed += m_scanned.changed.empty() ? "" : "/";
        m_scanned.changed += name;
    }

    const PackOptions &m_options;
    const bool m_recurse;
    const Scan &m_scan;
    const std::function<void()> &m_idle;
    ScannedFolder &m_scanned;
    Folder m_folder;
    bool m_keepsInfo = false;
    std::size_t m_file = 0;      // next one in m_scanned.files
    std::size_t m_subfolder = 0; // next one in m_scanned.folders
};

// True if any write since the scan began shows in the file's times. What was written into the
// archive must be one state of the file, also where a program sets the old time again; of an
// unchanged file, the archive keeps its entry.
bool FolderCheck::timesShowWrites(const FoundFile &file) const {
    if (file.written)
        return false;
    const platform::FileInfo info = file.info();
    return file.outcome == VL2ZIP_SAME ? m_scan.timesShowWritesTo(info)
                                       : info.changed < m_scan.beganFor(info);
}

// A file that cannot be read counts as changed; the next attempt to pack it reports the reason.
bool FolderCheck::hasPackedBytes(const FoundFile &file) const {
    SourceFile source(m_options.root, std::string(file.path), lineEndsOf(m_options));
    source.setFolder(m_folder);
    source.setIdle(m_idle);
    std::uint32_t crc = 0;
    std::uint64_t size = 0;
    return source.open().ok() && sameFile(source.version(), file.info()) &&
           source.version().size == file.size && source.measure(crc, size).ok() && crc == file.crc;
}

Status FolderCheck::compareFile(const std::string &name, const FoundFile &file) {
    if (!file.known)
        return {};
    platform::FileInfo now;
    const auto known = m_keepsInfo ? m_folder.freshInfo(name, now, Folder::Links::Follow)
                                   : m_folder.info(name, now, Folder::Links::Follow);
    if (!known.ok() && !known.is(Failure::NotFound))
        return failure(known, Failure::CannotOpen);
    // The times of a packed file prove nothing if they differ: on some disks reading changes them.
    const bool same = known.ok() && sameVersion(file.info(), now);
    if (!known.ok() || (!same && !file.packed) ||
        (file.packed && !(same && timesShowWrites(file)) && !hasPackedBytes(file)))
        m_scanned.changed = file.path;
    return {};
}

// To be called for the items sorted by name, like those of the scan.
Status FolderCheck::compare(const platform::FolderItem &item) {
    const auto isNext = [&](const std::vector<const FoundFile *> &list, std::size_t next) {
        return next < list.size() && lastComponent(list[next]->path) == item.name;
    };
    if (platform::isTemporaryName(item.name) || platform::isNameOfDeleted(item.name))
        return {};
    if (item.kind == Kind::Folder) {
        if (m_recurse && !isNext(m_scanned.folders, m_subfolder++))
            changed(item.name);
        return {};
    }
    if (isNext(m_scanned.files, m_file))
        return compareFile(item.name, *m_scanned.files[m_file++]);
    // A scan has no pipes, devices and links that do not refer to files.
    platform::FileInfo now;
    if (item.kind == Kind::File ||
        (m_folder.info(item.name, now, Folder::Links::Follow).ok() && now.kind == Kind::File))
        changed(item.name);
    return {};
}

void FolderCheck::run() {
    const std::string &root = m_options.root;
    const auto opened = m_folder.open({root, std::string(m_scanned.path)});
    if (opened.is(Failure::NotFound) || opened.is(Failure::WrongKind)) {
        m_scanned.changed = m_scanned.path.empty() ? std::string_view(root) : m_scanned.path;
        m_scanned.changed += m_scanned.changed.empty() ? "." : "";
        return;
    }
    m_keepsInfo = opened.ok() && m_folder.keepsInfo();
    std::vector<platform::FolderItem> items;
    const auto listed = opened.ok() ? m_folder.list(items) : opened;
    m_scanned.status = failure(listed, Failure::CannotOpen);
    std::sort(items.begin(), items.end(),
              [](const auto &a, const auto &b) { return a.name < b.name; });
    for (std::size_t i = 0; i < items.size() && m_scanned.status.ok() && m_scanned.changed.empty();
         ++i)
        m_scanned.status = compare(items[i]);
    if (!m_scanned.status.ok() || !m_scanned.changed.empty())
        return;
    if (m_file < m_scanned.files.size())
        m_scanned.changed = m_scanned.files[m_file]->path;
    else if (m_subfolder < m_scanned.folders.size())
        m_scanned.changed = m_scanned.folders[m_subfolder]->path;
}

} // namespace

Status detectChanges(const PackOptions &options, bool recurse, const Scan &scan,
                     const std::function<void()> &idle, std::string &changed) {
    std::vector<ScannedFolder> folders = foldersOf(scan);
    Status status;
    const auto reading = onThisThread(idle);
    platform::OrderedParallelFor work;
    work.count = folders.size();
    work.cost = [&](std::size_t i) { return (kFolderCost + folders[i].files.size()) * kFileCost; };
    if (!scan.isRemote)
        work.shortCost = kShortCost;
    work.work = [&](std::size_t i) {
        FolderCheck(options, recurse, scan, reading, folders[i]).run();
    };
    work.take = [&](std::size_t i) {
        status = folders[i].status;
        changed = folders[i].changed;
        return status.ok() && changed.empty();
    };
    work.idle = idle;
    platform::orderedParallelFor(work, platform::workerCount(), UINT64_MAX);
    return status;
}

} // namespace ziplib
