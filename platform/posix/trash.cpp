#include "platform/trash.h"

#include "storage/pathText.h"
#include "storage/posix/descriptor.h"
#include "storage/storage.h"

#include <QByteArray>
#include <QDateTime>
#include <QFile>
#include <QStandardPaths>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

// The desktop's trash in the form that freedesktop.org defines (version 1.0). QFile::moveToTrash
// tries names without end if it may not write in the trash or the name is too long, and uses the
// current folder if the trash is no folder.
namespace platform {

namespace {

constexpr const char *kInfoEnding = ".trashinfo";
constexpr std::size_t kLongestName = 255; // bytes

// One of the trash folders, and the folder to which its information is relative; "" for absolute
// paths.
struct Trash {
    std::string folder;
    std::string top;
};

std::string parentOf(const std::string &path) {
    const std::size_t cut = path.find_last_of('/');
    return cut == 0 || cut == std::string::npos ? "/" : path.substr(0, cut);
}

bool isFolder(const std::string &path, struct stat &info) {
    return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// The user's own folder may be a link.
bool isUsersFolder(const std::string &path, bool mayBeLink) {
    struct stat info = {};
    const bool found = mayBeLink ? ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode)
                                 : isFolder(path, info);
    return found && (info.st_uid == ::geteuid() || ::geteuid() == 0);
}

// The device of a folder, which need not exist: that of the nearest parent that does.
dev_t deviceOf(std::string folder) {
    struct stat info = {};
    while (::stat(folder.c_str(), &info) != 0 && folder.size() > 1)
        folder = parentOf(folder);
    return info.st_dev;
}

// The highest folder of the file's disk.
std::string topOf(const std::string &file, dev_t device) {
    std::string top = parentOf(file);
    struct stat info = {};
    while (top.size() > 1 && ::stat(parentOf(top).c_str(), &info) == 0 && info.st_dev == device)
        top = parentOf(top);
    return top;
}

bool makeTrash(const std::string &folder, bool mayBeLink) {
    if (!makeFolders(folder, Permissions::Private).ok() || !isUsersFolder(folder, mayBeLink))
        return false;
    // Those that cannot be made refuse the file.
    for (const char *name : {"/files", "/info"})
        static_cast<void>(makeFolders(folder + name, Permissions::Private));
    return true;
}

// A name for the trash that leaves room for a number and the ending. Not cut within a character.
std::string shortened(std::string name) {
    constexpr std::size_t kRoom = 20;
    std::size_t size = std::min(name.size(), kLongestName - kRoom);
    while (size < name.size() && size > 0 &&
           (static_cast<unsigned char>(name[size]) & 0xC0U) == 0x80U)
        --size;
    name.resize(size);
    return name;
}

std::string informationOf(const std::string &file, const Trash &trash) {
    std::string_view path = file;
    if (!trash.top.empty())
        path.remove_prefix(trash.top.size() + (trash.top.size() > 1 ? 1 : 0));
    const QByteArray bytes(path.data(), static_cast<qsizetype>(path.size()));
    return "[Trash Info]\nPath=" + bytes.toPercentEncoding("/").toStdString() + "\nDeletionDate=" +
           QDateTime::currentDateTime().toString("yyyy-MM-ddThh:mm:ss").toStdString() + '\n';
}

// Creates the information under the first free name. Returns the name, "" on failure.
std::string reserve(const std::string &file, const Trash &trash) {
    constexpr int kMostNames = 100'000;
    const std::string name = shortened(file.substr(file.find_last_of('/') + 1));
    const std::string text = informationOf(file, trash);
    for (int number = 1; number < kMostNames; ++number) {
        std::string tried = number == 1 ? name : name + '.' + std::to_string(number);
        const std::string info = trash.folder + "/info/" + tried + kInfoEnding;
        const Descriptor opened(
            ::open(info.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
        if (!opened.isOpen() && errno == EEXIST)
            continue;
        if (!opened.isOpen())
            return {};
        struct stat taken = {};
        const bool isFree = ::lstat((trash.folder + "/files/" + tried).c_str(), &taken) != 0;
        if (isFree &&
            ::write(opened.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size()))
            return tried;
        ::unlink(info.c_str());
        if (isFree)
            return {};
    }
    return {};
}

Trashing moveTo(const Trash &trash, const std::string &file) {
    const std::string name = reserve(file, trash);
    if (name.empty())
        return Trashing::Failed;
    if (::rename(file.c_str(), (trash.folder + "/files/" + name).c_str()) == 0)
        return Trashing::Moved;
    const int reason = errno;
    ::unlink((trash.folder + "/info/" + name + kInfoEnding).c_str());
    return reason == EXDEV ? Trashing::NoTrash : Trashing::Failed;
}

} // namespace

Trashing moveToTrash(const std::string &file) {
    struct stat info = {};
    if (::lstat(file.c_str(), &info) != 0)
        return Trashing::Failed;
    const std::string data =
        QFile::encodeName(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation))
            .toStdString();
    Trashing result = Trashing::NoTrash;
    if (!data.empty() && deviceOf(data + "/Trash") == info.st_dev &&
        makeTrash(data + "/Trash", true))
        result = moveTo({data + "/Trash", {}}, file);
    if (result != Trashing::NoTrash)
        return result;
    const std::string top = topOf(file, info.st_dev);
    const std::string shared = joinPath(top, ".Trash");
    const std::string user = std::to_string(::getuid());
    struct stat its = {};
    const bool isShared = isFolder(shared, its) && (its.st_mode & S_ISVTX) != 0;
    if (isShared && makeTrash(joinPath(shared, user), false))
        return moveTo({joinPath(shared, user), top}, file);
    const std::string own = joinPath(top, ".Trash-" + user);
    return makeTrash(own, false) ? moveTo({own, top}, file) : Trashing::NoTrash;
}

} // namespace platform
