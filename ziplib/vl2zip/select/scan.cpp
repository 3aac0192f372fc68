#include "ziplib/vl2zip/select/scan.h"

#include "storage/orderedParallelFor.h"
#include "storage/threadPool.h"
#include "ziplib/common/backgroundTask.h"
#include "ziplib/common/returnCode.h"

#include <algorithm>
#include <iterator>
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
    Scan found;                 // `files` are those whose information is known
    std::vector<TextRef> files; // the others
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
            FoundFile inner;
            platform::FileInfo info;
            // If it was deleted, listing it fails.
            if (folder.info(item.name, info).ok())
                inner.setInfo(info);
            inner.path = path;
            found.folders.push_back(inner);
        }
        return {};
    }
    if (item.kind == Kind::File) {
        files.push_back(path);
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
    FoundFile file;
    file.path = path;
    file.setInfo(info);
    found.files.push_back(file);
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

bool Scan::hasFile(std::string_view path) const {
    const auto found = std::lower_bound(
        files.begin(), files.end(), path,
        [](const FoundFile &file, std::string_view wanted) { return file.path < wanted; });
    return found != files.end() && found->path == path;
}

TextRef Scan::addText(std::string_view first, std::string_view second) {
    texts.push_back(
        std::make_unique<char[]>(std::size_t{TextRef::kHead} + first.size() + second.size()));
    char *const at = texts.back().get();
    TextRef::write(at, first, second);
    return TextRef(at);
}

// Works level by level, with one thread for each folder.
Status scanFolder(const std::string &root, bool recurse, Scan &scan,
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
    std::vector<TextRef> files;
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
            append(files, folder.files);
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
    // At once, not by growth, which would leave holes of the same size in memory.
    scan.files.reserve(scan.files.size() + files.size());
    for (const TextRef path : files)
        scan.files.emplace_back().path = path;
    const auto byPath = [](const FoundFile &a, const FoundFile &b) {
        return std::string_view(a.path) < std::string_view(b.path);
    };
    std::sort(scan.files.begin(), scan.files.end(), byPath);
    std::sort(scan.folders.begin(), scan.folders.end(), byPath);
    return failed;
}

} // namespace ziplib
