#include "registry/posix/replaceFile.h"

#include <QByteArrayView>

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <thread>

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kLongestWait{3};
constexpr std::chrono::milliseconds kPause{2};
constexpr int kMostLinks = 40;
constexpr mode_t kPermissionBits = 07777;

QByteArray folderOf(const QByteArray &path) {
    const qsizetype slash = path.lastIndexOf('/');
    return slash < 0 ? "." : slash == 0 ? "/" : path.first(slash);
}

// What root makes in a user's folder is the user's, or the user could not change it afterwards.
void giveToOwnerOf(const QByteArray &folder, int file) {
    struct stat info = {};
    if (::geteuid() == 0 && ::stat(folder.constData(), &info) == 0 && info.st_uid != 0 &&
        ::fchown(file, info.st_uid, info.st_gid) != 0)
        return; // stays root's, as good as it gets
}

// One byte of the lock file. EAGAIN where somebody else has it.
int tryLock(int file, off_t byte, short kind) {
    struct flock range = {};
    range.l_type = kind;
    range.l_whence = SEEK_SET;
    range.l_start = byte;
    range.l_len = 1;
    if (::fcntl(file, F_OFD_SETLK, &range) == 0)
        return 0;
    return errno == EACCES ? EAGAIN : errno;
}

int waitForLock(int file, off_t byte, Clock::time_point end) {
    int result = tryLock(file, byte, F_WRLCK);
    while (result == EAGAIN && Clock::now() < end) {
        std::this_thread::sleep_for(kPause);
        result = tryLock(file, byte, F_WRLCK);
    }
    return result;
}

int writeAll(int file, QByteArrayView content) {
    while (!content.isEmpty()) {
        const ssize_t written = ::write(file, content.data(), static_cast<size_t>(content.size()));
        if (written < 0 && errno != EINTR)
            return errno;
        if (written > 0)
            content = content.sliced(written);
    }
    return 0;
}

int fillTemporary(const QByteArray &temporary, const QByteArray &target,
                  const QByteArray &content) {
    const Descriptor file(
        ::open(temporary.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
    if (!file.isOpen())
        return errno;
    if (const int failed = writeAll(file.get(), content))
        return failed;
    struct stat old = {};
    if (::stat(target.constData(), &old) == 0) {
        // The owner first: a change of owner clears mode bits. One who may not give the file away
        // keeps it as their own.
        if (::fchown(file.get(), old.st_uid, old.st_gid) != 0 && errno != EPERM)
            return errno;
        if (::fchmod(file.get(), old.st_mode & kPermissionBits) != 0)
            return errno;
    } else {
        giveToOwnerOf(folderOf(target), file.get());
    }
    return ::fsync(file.get()) == 0 ? 0 : errno;
}

} // namespace

QByteArray followLinks(const QByteArray &path) {
    QByteArray current = path;
    for (int i = 0; i < kMostLinks; ++i) {
        std::array<char, PATH_MAX> buffer; // NOLINT(*-member-init): the call below fills it
        const ssize_t length = ::readlink(current.constData(), buffer.data(), buffer.size());
        if (length < 0)
            return current;
        const QByteArray target(buffer.data(), length);
        current = target.startsWith('/') ? target : folderOf(current) + '/' + target;
    }
    return {};
}

int makeFolders(const QByteArray &path) {
    if (::mkdir(path.constData(), 0700) == 0) {
        const Descriptor folder(::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        giveToOwnerOf(folderOf(path), folder.get());
        return 0;
    }
    if (errno == ENOENT && folderOf(path) != path) {
        const int failed = makeFolders(folderOf(path));
        return failed != 0 ? failed : makeFolders(path);
    }
    struct stat info = {};
    const int reason = errno;
    if (::stat(path.constData(), &info) != 0)
        return reason;
    return S_ISDIR(info.st_mode) ? 0 : ENOTDIR;
}

// Byte 0 of the file is the lock, byte 1 the place of the one who is next. Whoever has just given
// the lock back finds that place taken, and so cannot keep the others out by asking again at once.
int FileLock::acquire(const QByteArray &path) {
    Descriptor file(
        ::open(path.constData(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666));
    if (!file.isOpen())
        return errno;
    giveToOwnerOf(folderOf(path), file.get());
    const Clock::time_point end = Clock::now() + kLongestWait;
    int result = waitForLock(file.get(), 1, end);
    if (result == 0) {
        result = waitForLock(file.get(), 0, end);
        tryLock(file.get(), 1, F_UNLCK);
    }
    if (result == 0)
        m_file = std::move(file);
    return result;
}

int replaceFile(const QByteArray &path, const QByteArray &content) {
    const QByteArray temporary = path + ".tmp";
    ::unlink(temporary.constData());
    int failed = fillTemporary(temporary, path, content);
    if (failed == 0 && ::rename(temporary.constData(), path.constData()) != 0)
        failed = errno;
    if (failed != 0) {
        ::unlink(temporary.constData());
        return failed;
    }
    // The new file is in its place; whether the folder could be synced changes nothing about that.
    const Descriptor folder(::open(folderOf(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.isOpen())
        ::fsync(folder.get());
    return 0;
}

} // namespace platform
