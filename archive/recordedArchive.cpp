// Which archive a record is about: what identifies one over time and on both systems.
#include "archive/workRecord.h"

#include "platform/error.h"
#include "platform/files.h"

#include <QFileInfo>

#include <algorithm>

using platform::FileInfo;
using platform::Folder;

namespace {

// Whether a folder has a file of exactly this name, in this case.
bool isListed(const QString &path) {
    Folder folder;
    std::vector<platform::FolderItem> items;
    const QFileInfo file(path);
    const std::string name = file.fileName().toStdString();
    return folder.open(file.path().toStdString()).ok() && folder.list(items).ok() &&
           std::any_of(items.begin(), items.end(),
                       [&](const platform::FolderItem &item) { return item.name == name; });
}

// Whether a path leads to a certain file, as one in another case does on some disks.
bool leadsTo(const QString &path, const FileInfo &file) {
    Folder folder;
    FileInfo found;
    const QFileInfo info(path);
    return folder.open(info.path().toStdString()).ok() &&
           folder.info(info.fileName().toStdString(), found).ok() && sameFile(found, file);
}

// The part after the drive's letter, with "/"; "" if there is none, as in paths of POSIX.
QString belowDrive(const QString &path) {
    return path.size() > 1 && path[1] == ':' ? QString(path.mid(2)).replace('\\', '/') : QString();
}

// True if one is the path of a Windows drive, and the other one the same below a mount point. A
// shorter path than that of an archive in its game's folders would match archives of other games.
bool isSameOnOtherSystem(const QString &a, const QString &b) {
    constexpr qsizetype kFewestNames = 3; // GameData/base/NAME
    const QString tailA = belowDrive(a);
    const QString tailB = belowDrive(b);
    if (tailA.isEmpty() == tailB.isEmpty())
        return false;
    const QString &tail = tailA.isEmpty() ? tailB : tailA;
    return tail.count('/') >= kFewestNames &&
           (tailA.isEmpty() ? a : b).endsWith(tail, Qt::CaseInsensitive);
}

} // namespace

bool WorkRecord::Archive::isSame(const Archive &other) const {
    const auto sensitivity = platform::namesIgnoreCase() ? Qt::CaseInsensitive : Qt::CaseSensitive;
    if (path.compare(other.path, sensitivity) == 0 || isSameOnOtherSystem(path, other.path))
        return true;
    const QString name = QFileInfo(path).fileName();
    const QString otherName = QFileInfo(other.path).fileName();
    if (name.compare(otherName, Qt::CaseInsensitive) != 0 || isListed(path))
        return false;
    const bool hasBirth = born != 0 && other.born != 0;
    const bool isVersion = seen.size == other.seen.size && seen.modified == other.seen.modified;
    const bool isFile =
        seen.id != 0 && sameFile(seen, other.seen) && (hasBirth ? born == other.born : isVersion);
    const bool isFolder = folder.id != 0 && sameFile(folder, other.folder) && folderBorn != 0 &&
                          folderBorn == other.folderBorn;
    return isFile || (isFolder && name.compare(otherName, sensitivity) == 0) ||
           leadsTo(path, other.seen);
}

std::optional<WorkRecord::Archive> WorkRecord::archiveAt(const QString &path) {
    std::string folder;
    std::string name;
    Folder opened;
    Archive archive;
    try {
        if (!platform::resolvePath(platform::storagePath(path), folder, name).ok())
            return {};
    } catch (const platform::RuntimeError &) {
        return {};
    }
    if (!opened.open(folder).ok() || !opened.info(name, archive.seen).ok())
        return {};
    archive.path = QString::fromStdString(opened.pathOf(name));
    archive.born = opened.birthTime(name);
    std::string parent;
    if (platform::resolvePath(folder, parent, name).ok() && opened.open(parent).ok())
        archive.folderBorn = opened.info(name, archive.folder).ok() ? opened.birthTime(name) : 0;
    return archive;
}
