#include "ziplib/vl2zip/select/scan.h"

#include "storage/orderedParallelFor.h"
#include "storage/threadPool.h"
#include "ziplib/common/backgroundTask.h"
#include "ziplib/common/returnCode.h"
#include "ziplib/format/directory.h"
#include "ziplib/vl2zip/select/base.h"
#include "ziplib/vl2zip/select/entryPaths.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

namespace ziplib {

namespace {

using Kind = platform::FileInfo::Kind;
using platform::Folder;

// Large enough that a thread works on one folder at a time.
constexpr std::uint64_t kFolderCost = 1U << 30U;
constexpr std::size_t kItemsAtOnce = 256; // of a folder, between two calls of `idle`

// The direct contents of one folder.
struct Contents {
    Scan found;
    Status status;

    Status list(const std::string &root, const std::string &path, bool recurse,
                const std::function<void()> &idle);

  private:
    Status take(const Folder &folder, const platform::FolderItem &item, bool recurse, TextRef path);
};

Status Contents::take(const Folder &folder, const platform::FolderItem &item, bool recurse,
                      TextRef path) {
    if (item.kind == Kind::Folder) {
        if (recurse) {
            FoundFile &inner = found.folders.emplace_back();
            platform::FileInfo info;
            // If it was deleted, listing it fails.
            if (folder.info(item.name, info).ok())
                inner.setRead(info);
            inner.path = path;
        }
        return {};
    }
    if (item.kind == Kind::File) {
        found.names.push_back(path);
        return {};
    }
    platform::FileInfo info;
    const auto known = folder.info(item.name, info, Folder::Links::Follow);
    if (item.kind == Kind::Link && (!known.ok() || info.kind != Kind::File)) {
        found.leftOut.push_back(std::string(path) + ": a link that leads to no file is not packed");
        return {};
    }
    if (known.is(Failure::NotFound))
        return {}; // deleted since it was listed
    if (!known.ok())
        return failure(known, Failure::CannotOpen);
    if (info.kind != Kind::File) {
        found.leftOut.push_back(std::string(path) + ": neither a file nor a folder, not packed");
        return {};
    }
    FoundFile &file = found.files.emplace_back();
    file.path = path;
    file.setRead(info);
    return {};
}

Status Contents::list(const std::string &root, const std::string &path, bool recurse,
                      const std::function<void()> &idle) {
    Folder folder;
    if (const auto opened = folder.open(platform::Location{root, path}); !opened.ok())
        return failure(opened, Failure::CannotOpen);
    std::vector<platform::FolderItem> items;
    if (const auto listed = folder.list(items); !listed.ok())
        return failure(listed, Failure::CannotOpen);
    std::string start = path;
    if (!path.empty())
        start += '/';
    std::size_t size = 0;
    for (const auto &item : items)
        size += std::size_t{TextRef::kHead} + start.size() + item.name.size();
    found.texts.push_back(std::make_unique<char[]>(size));
    char *at = found.texts.back().get();
    std::size_t count = 0;
    for (const auto &item : items) {
        if (++count % kItemsAtOnce == 0)
            idle();
        if (platform::isNameOfDeleted(item.name))
            continue;
        const TextRef below(at);
        at = TextRef::write(at, start, item.name);
        if (platform::isTemporaryName(item.name)) {
            if (item.kind == Kind::File)
                found.temporaries.emplace_back(below);
            continue;
        }
        if (auto taken = take(folder, item, recurse, below); !taken.ok())
            return taken;
    }
    return {};
}

template<typename T>
void append(std::vector<T> &all, std::vector<T> &more) {
    std::move(more.begin(), more.end(), std::back_inserter(all));
}

} // namespace

platform::FileInfo FileVersion::info() const {
    platform::FileInfo info;
    info.size = size;
    info.device = device;
    info.id = id;
    info.modified = modified;
    info.changed = changed;
    return info;
}

FileVersion FoundFile::version(const Base *base) const {
    if (m_base == kNoVersion)
        return m_read ? *m_read : FileVersion();
    const BaseVersion known = *base->find(m_base);
    return {known.size, known.device, known.id, known.modified, known.changed, known.crc};
}

void FoundFile::setRead(const platform::FileInfo &info) {
    if (!m_read)
        m_read = std::make_unique<FileVersion>();
    *m_read = {info.size, info.device, info.id, info.modified, info.changed, 0};
    m_base = kNoVersion;
}

void FoundFile::setAsInBase(std::uint32_t version) {
    m_base = version;
    m_read.reset();
}

bool Scan::hasFile(std::string_view path) const {
    const auto found = std::lower_bound(
        files.begin(), files.end(), path,
        [](const FoundFile &file, std::string_view wanted) { return file.path < wanted; });
    return found != files.end() && found->path == path;
}

const CandidateExtras &Scan::extrasOf(const Candidate &candidate) const {
    static const CandidateExtras none;
    return candidate.extras == 0 ? none : *extras[candidate.extras - 1];
}

CandidateExtras &Scan::makeExtras(Candidate &candidate) {
    if (candidate.extras == 0) {
        if (extras.size() >= Candidate::kMostExtras)
            throw std::bad_alloc();
        extras.push_back(std::make_unique<CandidateExtras>());
        candidate.extras = static_cast<std::uint32_t>(extras.size()) & Candidate::kMostExtras;
    }
    return *extras[candidate.extras - 1];
}

void Scan::shareNames(const Directory &directory, const EntryPaths &entries) {
    if (entries.empty())
        return;
    std::vector<TextRef *> others;
    for (FoundFile &folder : folders)
        others.push_back(&folder.path);
    for (FoundFile &file : files)
        others.push_back(&file.path);
    for (TextRef &name : names) {
        const std::uint32_t number = entries.find(name);
        const Entry entry = number == kNoEntry ? Entry() : directory.entries()[number];
        if (number != kNoEntry && directory.rawName(entry) == name)
            name = TextRef(directory.record(entry).data());
        else
            others.push_back(&name);
    }
    std::size_t size = 0;
    for (const TextRef *other : others)
        size += TextRef::kHead + std::string_view(*other).size();
    auto left = std::make_unique<char[]>(size + 1);
    char *at = left.get();
    for (TextRef *other : others) {
        const TextRef moved(at);
        at = TextRef::write(at, *other);
        *other = moved;
    }
    texts.clear();
    texts.push_back(std::move(left));
}

void Scan::sort() {
    // At once, not by growth, which would leave holes of the same size in memory.
    files.reserve(files.size() + names.size());
    for (const TextRef path : names)
        files.emplace_back().path = path;
    names = std::vector<TextRef>(); // an empty list in braces would keep the memory
    const auto byPath = [](const FoundFile &a, const FoundFile &b) {
        return std::string_view(a.path) < std::string_view(b.path);
    };
    std::sort(files.begin(), files.end(), byPath);
    std::sort(folders.begin(), folders.end(), byPath);
}

// Works level by level, with one thread for each folder.
Status listFolder(const std::string &root, bool recurse, Scan &scan,
                  const std::function<void()> &idle) {
    scan = {};
    Folder top;
    platform::FileInfo began;
    scan.isRemote = !top.open(root).ok() || top.isRemote();
    if (top.isOpen() && top.newFileInfo(began).ok()) {
        scan.began = began;
        scan.keepsInfo = top.keepsInfo();
        scan.stampsWrites = top.stampsWrites();
    }
    const auto listing = onThisThread(idle);
    std::vector<std::string> level{std::string()};
    Status failed;
    while (!level.empty() && failed.ok()) {
        std::vector<Contents> contents(level.size());
        std::vector<std::string> next;
        const auto list = [&](std::size_t i) {
            contents[i].status = contents[i].list(root, level[i], recurse, listing);
        };
        const auto take = [&](std::size_t i) {
            Contents &folder = contents[i];
            failed = failed.ok() ? folder.status : failed;
            for (const auto &inner : folder.found.folders)
                next.emplace_back(inner.path);
            append(scan.names, folder.found.names);
            append(scan.files, folder.found.files);
            append(scan.folders, folder.found.folders);
            append(scan.leftOut, folder.found.leftOut);
            append(scan.temporaries, folder.found.temporaries);
            append(scan.texts, folder.found.texts);
            folder = {};
            return true;
        };
        platform::OrderedParallelFor work;
        work.count = level.size();
        work.cost = [](std::size_t) { return kFolderCost; };
        if (!scan.isRemote)
            work.shortCost = kFolderCost;
        work.work = list;
        work.take = take;
        work.idle = idle;
        platform::orderedParallelFor(work, platform::workerCount(), UINT64_MAX);
        level.swap(next);
    }
    return failed;
}

Status scanFolder(const std::string &root, bool recurse, Scan &scan) {
    auto listed = listFolder(root, recurse, scan);
    scan.sort();
    return listed;
}

} // namespace ziplib
