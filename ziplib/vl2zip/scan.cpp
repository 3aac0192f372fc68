#include "ziplib/vl2zip/scan.h"

#include "ziplib/vl2zip/failures.h"

#include <algorithm>

namespace ziplib {

namespace {

using Kind = platform::FileInfo::Kind;
using platform::Folder;

struct Walk {
    const std::string &root;
    bool recurse;
    Scan &scan;
    std::vector<std::string> pending; // folders still to be listed

    Outcome listFolder(const std::string &path);
    Outcome take(const Folder &folder, const platform::FolderItem &item, std::string path);
};

Outcome Walk::take(const Folder &folder, const platform::FolderItem &item, std::string path) {
    if (item.kind == Kind::Folder) {
        if (recurse) {
            FoundFile found;
            // One that vanishes is noticed when it is listed.
            static_cast<void>(folder.info(item.name, found.info));
            pending.push_back(path);
            found.path = std::move(path);
            scan.folders.push_back(std::move(found));
        }
        return {};
    }
    FoundFile found;
    if (item.kind == Kind::File) {
        found.path = std::move(path);
        scan.files.push_back(std::move(found));
        return {};
    }
    const auto known = folder.info(item.name, found.info, Folder::Links::Follow);
    if (item.kind == Kind::Link && (!known.ok() || found.info.kind != Kind::File)) {
        scan.leftOut.push_back(path + ": a link that leads to no file is not packed");
        return {};
    }
    if (known.is(platform::Failure::NotFound)) {
        return {}; // gone since it was listed
    }
    if (!known.ok()) {
        return failure(known, Code::CannotOpen);
    }
    if (found.info.kind != Kind::File) {
        scan.leftOut.push_back(path + ": neither a file nor a folder, not packed");
        return {};
    }
    found.path = std::move(path);
    found.known = true;
    scan.files.push_back(std::move(found));
    return {};
}

Outcome Walk::listFolder(const std::string &path) {
    Folder folder;
    if (const auto opened = folder.open(platform::Place{root, path}); !opened.ok()) {
        return failure(opened, Code::CannotOpen);
    }
    std::vector<platform::FolderItem> items;
    if (const auto listed = folder.list(items); !listed.ok()) {
        return failure(listed, Code::CannotOpen);
    }
    for (const auto &item : items) {
        std::string below = path.empty() ? item.name : path + '/' + item.name;
        if (platform::isTemporaryName(item.name)) {
            if (item.kind == Kind::File) {
                scan.temporaries.push_back(std::move(below));
            }
            continue;
        }
        if (auto taken = take(folder, item, std::move(below)); !taken.ok()) {
            return taken;
        }
    }
    return {};
}

} // namespace

std::string_view folderOf(std::string_view path) {
    const auto slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

bool sameVersion(const platform::FileInfo &a, const platform::FileInfo &b) {
    return platform::sameFile(a, b) && a.size == b.size && a.modified == b.modified &&
           a.changed == b.changed;
}

Outcome scanFolder(const std::string &root, bool recurse, Scan &scan) {
    scan = {};
    Walk walk{root, recurse, scan, {std::string()}};
    // One folder is open at a time, however deep the tree is.
    while (!walk.pending.empty()) {
        const std::string path = std::move(walk.pending.back());
        walk.pending.pop_back();
        if (auto listed = walk.listFolder(path); !listed.ok()) {
            return listed;
        }
    }
    const auto byPath = [](const FoundFile &a, const FoundFile &b) { return a.path < b.path; };
    std::sort(scan.files.begin(), scan.files.end(), byPath);
    std::sort(scan.folders.begin(), scan.folders.end(), byPath);
    return {};
}

} // namespace ziplib
