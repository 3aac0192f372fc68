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

// What a folder holds directly, in the order of the names: ranges of a list that is sorted by path.
class Items {
  public:
    // To be called in the order of the list.
    void add(const FoundFile &item) {
        if (m_ranges.empty() || m_ranges.back().end != &item)
            m_ranges.push_back({&item, &item});
        ++m_ranges.back().end;
        ++m_count;
    }
    std::size_t count() const { return m_count; }
    // The first one that was not taken, or null.
    const FoundFile *next() const { return m_at < m_ranges.size() ? m_ranges[m_at].next : nullptr; }
    void takeNext() {
        if (++m_ranges[m_at].next == m_ranges[m_at].end)
            ++m_at;
    }

  private:
    struct Range {
        const FoundFile *next;
        const FoundFile *end;
    };
    std::vector<Range> m_ranges;
    std::size_t m_at = 0; // the range of the next one
    std::size_t m_count = 0;
};

// A folder in the scan, and the result of its comparison.
struct ScannedFolder {
    std::string_view path;
    Items files;
    Items folders;
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
        known[indices.at(folderOf(folder.path))].folders.add(folder);
    for (const auto &file : scan.files)
        known[indices.at(folderOf(file.path))].files.add(file);
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
    FileVersion versionOf(const FoundFile &file) const {
        return file.version(m_options.base.get());
    }
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
};

// True if any write since the scan began shows in the file's times. What was written into the
// archive must be one state of the file, also where a program sets the old time again; of an
// unchanged file, the archive keeps its entry.
bool FolderCheck::timesShowWrites(const FoundFile &file) const {
    if (file.written)
        return false;
    const platform::FileInfo info = versionOf(file).info();
    return file.outcome == VL2ZIP_SAME ? m_scan.timesShowWritesTo(info)
                                       : info.changed < m_scan.beganFor(info);
}

// A file that cannot be read counts as changed; the next attempt to pack it reports the reason.
bool FolderCheck::hasPackedBytes(const FoundFile &file) const {
    SourceFile source(m_options.root, std::string(file.path), lineEndsOf(m_options));
    source.setFolder(m_folder);
    source.setIdle(m_idle);
    const FileVersion version = versionOf(file);
    std::uint32_t crc = 0;
    std::uint64_t size = 0;
    return source.open().ok() && sameFile(source.version(), version.info()) &&
           source.version().size == version.size && source.measure(crc, size).ok() &&
           crc == version.crc;
}

Status FolderCheck::compareFile(const std::string &name, const FoundFile &file) {
    if (!file.isKnown())
        return {};
    platform::FileInfo now;
    const auto known = m_keepsInfo ? m_folder.freshInfo(name, now, Folder::Links::Follow)
                                   : m_folder.info(name, now, Folder::Links::Follow);
    if (!known.ok() && !known.is(Failure::NotFound))
        return failure(known, Failure::CannotOpen);
    // The times of a packed file prove nothing if they differ: on some disks reading changes them.
    const bool same = known.ok() && sameVersion(versionOf(file).info(), now);
    if (!known.ok() || (!same && !file.packed) ||
        (file.packed && !(same && timesShowWrites(file)) && !hasPackedBytes(file)))
        m_scanned.changed = file.path;
    return {};
}

// To be called for the items sorted by name, like those of the scan.
Status FolderCheck::compare(const platform::FolderItem &item) {
    // The scanned one of this name, or null.
    const auto take = [&](Items &scanned) -> const FoundFile * {
        const FoundFile *next = scanned.next();
        if (next == nullptr || lastComponent(next->path) != item.name)
            return nullptr;
        scanned.takeNext();
        return next;
    };
    if (platform::isTemporaryName(item.name) || platform::isNameOfDeleted(item.name))
        return {};
    if (item.kind == Kind::Folder) {
        if (m_recurse && take(m_scanned.folders) == nullptr)
            changed(item.name);
        return {};
    }
    if (const FoundFile *file = take(m_scanned.files))
        return compareFile(item.name, *file);
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
    if (const FoundFile *file = m_scanned.files.next())
        m_scanned.changed = file->path;
    else if (const FoundFile *folder = m_scanned.folders.next())
        m_scanned.changed = folder->path;
}

} // namespace

Status detectChanges(const PackOptions &options, bool recurse, const Scan &scan,
                     const std::function<void()> &idle, std::string &changed) {
    std::vector<ScannedFolder> folders = foldersOf(scan);
    Status status;
    const auto reading = onThisThread(idle);
    platform::OrderedParallelFor work;
    work.count = folders.size();
    work.cost = [&](std::size_t i) { return (kFolderCost + folders[i].files.count()) * kFileCost; };
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
