#include "registry/posix/hiveFile.h"

#include "registry/posix/hiveLock.h"
#include "registry/registry.h"
#include "storage/posix/fileInfo.h"
#include "storage/posix/paths.h"
#include "storage/posix/systemError.h"
#include "storage/storage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <map>
#include <mutex>

namespace platform::hive {

namespace {

// A file system's times may have a resolution of up to two seconds. A file that changed within that
// time before it was read may change again without a difference in its times.
constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::int64_t kCoarsestTime = 2 * kSecond;

struct Cached {
    std::shared_ptr<const Hive> hive;
    FileInfo info;
    std::int64_t readAt = 0; // nanoseconds since 1970
};

std::mutex cacheMutex;

std::map<QByteArray, Cached> &cache() {
    static std::map<QByteArray, Cached> entries;
    return entries;
}

bool isUnchanged(const Cached &cached, const FileInfo &now) {
    const FileInfo &then = cached.info;
    return cached.hive && sameFile(then, now) && then.size == now.size &&
           then.modified == now.modified && then.changed == now.changed &&
           then.changed + kCoarsestTime < cached.readAt;
}

// Reads a file as a whole; `info` is its state before.
Status readFile(const std::string &path, InputFile &file, QByteArray &content, FileInfo &info) {
    content.clear();
    Status status = file.open(path, info);
    std::size_t got = 1;
    while (status.ok() && got > 0) {
        const qsizetype filled = content.size();
        // One byte more than expected shows the end without another round.
        content.resize(filled + static_cast<qsizetype>(info.size) + 1);
        const auto room = static_cast<std::size_t>(content.size() - filled);
        status =
            file.readAt(static_cast<std::uint64_t>(filled), content.data() + filled, room, got);
        content.truncate(filled + static_cast<qsizetype>(got));
        if (got < room)
            break;
    }
    return status;
}

std::int32_t registryError(const Status &status) {
    switch (status.kind) {
    case Failure::None:
        return kSuccess;
    case Failure::Denied:
        return kAccessDenied;
    case Failure::Busy:
        return kLockViolation;
    case Failure::Full:
        return kDiskFull;
    default:
        return kRegistryFault;
    }
}

// `old` is the file to be replaced, if there is one. The caller holds the hive's lock.
Status replaceFile(const Folder &folder, const std::string &name, const QByteArray &content,
                   const InputFile &old) {
    folder.removeStaleTemporaries();
    NewFile file;
    Status status = file.create(folder);
    if (!status.ok())
        return status;
    if (old.isOpen())
        file.takeOverFrom(old);
    else
        file.giveToFolderOwner();
    status = file.write(content.constData(), static_cast<std::size_t>(content.size()));
    if (status.ok())
        status = file.sync();
    if (status.ok())
        status = file.commit(name, NewFile::Replace::Yes);
    // The new file has its name; a folder that cannot be synced does not change that.
    if (status.ok())
        static_cast<void>(folder.sync());
    return status;
}

} // namespace

std::shared_ptr<const Hive> readHive(const QByteArray &path) {
    static const auto kEmpty = std::make_shared<const Hive>();
    const std::lock_guard guard(cacheMutex);
    struct stat now = {};
    if (path.isEmpty() || ::stat(path.constData(), &now) != 0)
        return kEmpty;
    Cached &cached = cache()[path];
    if (!isUnchanged(cached, fileInfo(now))) {
        cached.readAt = ::time(nullptr) * kSecond;
        QByteArray content;
        InputFile file;
        const bool isRead = readFile(path.toStdString(), file, content, cached.info).ok();
        cached.hive = isRead ? std::make_shared<const Hive>(content) : nullptr;
    }
    return cached.hive ? cached.hive : kEmpty;
}

std::int32_t changeHive(const QByteArray &path,
                        const std::function<QByteArray(const Hive &)> &change) {
    std::string target;
    Status status = followLinks(path.toStdString(), target);
    std::string folderPath;
    std::string name;
    splitPath(target, folderPath, name);
    if (status.ok())
        status = makeFolders(folderPath, Permissions::Private);
    Folder folder;
    if (status.ok())
        status = folder.open(folderPath);
    HiveLock lock;
    if (status.ok())
        status = lock.acquire(target + ".lock");
    if (!status.ok())
        return registryError(status);
    QByteArray content;
    FileInfo info;
    InputFile old;
    status = readFile(target, old, content, info);
    if (!status.ok() && !status.is(Failure::NotFound))
        return registryError(status);
    // A rename needs no permission to the file itself; a write-protected file stays.
    if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0 && errno != ENOENT)
        return registryError(errnoStatus(errno, "cannot write", target));
    const Hive hive(content);
    if (!hive.isWritable())
        return kBadHive;
    const QByteArray changed = change(hive);
    return changed == content ? kSuccess : registryError(replaceFile(folder, name, changed, old));
}

} // namespace platform::hive
