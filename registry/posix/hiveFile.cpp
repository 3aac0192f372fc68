#include "registry/posix/hiveFile.h"

#include "registry/posix/replaceFile.h"
#include "registry/registry.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <ctime>
#include <map>
#include <mutex>

namespace platform::hive {

namespace {

// A file system may keep times in steps of up to two seconds. A file that changed so shortly before
// it was read may change again without its times showing it.
constexpr std::int64_t kCoarsestTime = 2;

struct Cached {
    std::shared_ptr<const Hive> hive;
    struct stat info = {};
    std::int64_t readAt = 0; // seconds since 1970
};

std::mutex cacheMutex;

std::map<QByteArray, Cached> &cache() {
    static std::map<QByteArray, Cached> entries;
    return entries;
}

bool sameTime(const timespec &a, const timespec &b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

bool isUnchanged(const Cached &cached, const struct stat &now) {
    const struct stat &then = cached.info;
    return cached.hive && then.st_dev == now.st_dev && then.st_ino == now.st_ino &&
           then.st_size == now.st_size && sameTime(then.st_mtim, now.st_mtim) &&
           sameTime(then.st_ctim, now.st_ctim) &&
           then.st_ctim.tv_sec + kCoarsestTime < cached.readAt;
}

// The file's bytes and what it was when they were read. Returns 0 or an errno.
int readFile(const QByteArray &path, QByteArray &content, struct stat &info) {
    // Without waiting: a pipe in the file's place must not hold the program up.
    const Descriptor file(::open(path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!file.isOpen())
        return errno;
    if (::fstat(file.get(), &info) != 0)
        return errno;
    if (!S_ISREG(info.st_mode))
        return EISDIR;
    qsizetype filled = 0;
    content.resize(info.st_size + 1); // one more, so that the end is met without growing
    for (;;) {
        const ssize_t got = ::read(file.get(), content.data() + filled,
                                   static_cast<size_t>(content.size() - filled));
        if (got < 0 && errno != EINTR)
            return errno;
        if (got == 0)
            break;
        if (got > 0)
            filled += got;
        if (filled == content.size())
            content.resize(filled * 2);
    }
    content.truncate(filled);
    return 0;
}

std::int32_t systemError(int reason) {
    switch (reason) {
    case 0:
        return kSuccess;
    case EACCES:
    case EPERM:
    case EROFS:
        return kAccessDenied;
    case EAGAIN:
        return kLockViolation;
    case ENOSPC:
    case EDQUOT:
        return kDiskFull;
    default:
        return kRegistryFault;
    }
}

} // namespace

std::shared_ptr<const Hive> readHive(const QByteArray &path) {
    static const auto kEmpty = std::make_shared<const Hive>();
    const std::lock_guard guard(cacheMutex);
    struct stat now = {};
    if (path.isEmpty() || ::stat(path.constData(), &now) != 0)
        return kEmpty;
    Cached &cached = cache()[path];
    if (!isUnchanged(cached, now)) {
        cached.readAt = ::time(nullptr);
        QByteArray content;
        const bool isRead = readFile(path, content, cached.info) == 0;
        cached.hive = isRead ? std::make_shared<const Hive>(content) : nullptr;
    }
    return cached.hive ? cached.hive : kEmpty;
}

std::int32_t changeHive(const QByteArray &path,
                        const std::function<QByteArray(const Hive &)> &change) {
    const QByteArray target = followLinks(path);
    if (target.isEmpty())
        return kRegistryFault;
    if (const int failed = makeFolders(target.first(qMax(target.lastIndexOf('/'), 1))))
        return systemError(failed);
    FileLock lock;
    if (const int failed = lock.acquire(target + ".lock"))
        return systemError(failed);
    QByteArray content;
    struct stat info = {};
    if (const int failed = readFile(target, content, info); failed != 0 && failed != ENOENT)
        return systemError(failed);
    // A rename asks for no right to the file itself; somebody who write-protected it meant it.
    if (::faccessat(AT_FDCWD, target.constData(), W_OK, AT_EACCESS) != 0 && errno != ENOENT)
        return systemError(errno);
    const Hive hive(content);
    if (!hive.isWritable())
        return kBadHive;
    const QByteArray changed = change(hive);
    return changed == content ? kSuccess : systemError(replaceFile(target, changed));
}

} // namespace platform::hive
