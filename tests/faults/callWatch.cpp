// Preloaded before the C library: counts and logs the calls of a process that change a watched
// folder, and kills or stops the process before one of them, or makes it fail.
//
//   WATCH_FOLDER   calls on paths and descriptors below this folder count
//   WATCH_LOG      a file that gets one line for each call: number, name, path
//   WATCH_KILL     the number (from 1) of the call before which the process is killed; a write is
//                  done by half
//   WATCH_STOP     the number of the call before which the process stops until SIGCONT
//   WATCH_FAIL     the number of the call that fails instead, with the error number of WATCH_ERRNO
//   WATCH_LACKS    features that the disk lacks: " nameless " files, " linkat ", " renameat2 ", and
//                  " local ": it is a network share
//                  " locks ", or " read-locks ": of files that are open for reading only
//                  " times ", or " one-time " without the other: they are dropped without an error
//                  " steady ": each third call that creates a file or folder fails with EPERM
//                  " still-times ": each read sets a file's time
//                  " reopen ": a lock file that exists cannot be opened for writing
//                  " open-unlink ": a file that is open cannot be deleted
//                  " size ": the disk reports neither its size nor its free space
//                  " room ": writes are lost, and only a sync fails, with EIO
//                  " open-rename ": a renaming over an archive that this process has open fails and
//                  takes the archive with it when it is closed
//                  " held-rename ": the first renaming over an archive fails and takes it at
//                  once; " any-rename ": all others to its name fail, too
//                  Each between blanks.
//   WATCH_THREADS  "none": no thread can be started, except by Qt, which waits for its threads
//                  whether they started or not

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <functional>
#include <linux/fs.h>
#include <linux/magic.h>
#include <pthread.h>
#include <string>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

long number(const char *name) {
    const char *text = getenv(name);
    return text == nullptr ? 0 : strtol(text, nullptr, 10);
}

struct Settings {
    std::string folder;
    long killAt = number("WATCH_KILL");
    long stopAt = number("WATCH_STOP");
    long failAt = number("WATCH_FAIL");
    int error = static_cast<int>(number("WATCH_ERRNO"));
    int log = -1;

    Settings() {
        if (const char *text = getenv("WATCH_FOLDER"))
            folder = text;
        if (const char *path = getenv("WATCH_LOG"))
            log = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path,
                                           O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    }
};

const Settings &settings() {
    static const Settings instance;
    return instance;
}

std::atomic<long> calls{0};

std::string pathOf(int fd) {
    const std::string link =
        fd == AT_FDCWD ? "/proc/self/cwd" : "/proc/self/fd/" + std::to_string(fd);
    char buffer[PATH_MAX];
    const ssize_t size = readlink(link.c_str(), buffer, sizeof buffer);
    return size <= 0 ? std::string() : std::string(buffer, static_cast<std::size_t>(size));
}

std::string pathOf(int folder, const char *name) {
    if (name == nullptr || name[0] == '\0')
        return pathOf(folder);
    return name[0] == '/' ? std::string(name) : pathOf(folder) + "/" + name;
}

// Counts one call. True if it must fail; before a kill, `half` is done.
bool counted(
    const char *name, const std::string &path, const std::function<void()> &half = [] {}) {
    const Settings &wanted = settings();
    if (wanted.folder.empty() || !path.starts_with(wanted.folder))
        return false;
    const long call = ++calls;
    if (wanted.log >= 0) {
        const std::string line = std::to_string(call) + " " + name + " " + path + "\n";
        if (syscall(SYS_write, wanted.log, line.data(), line.size()) < 0)
            abort();
    }
    if (call == wanted.killAt) {
        half();
        syscall(SYS_kill, getpid(), SIGKILL);
    }
    if (call == wanted.stopAt)
        syscall(SYS_kill, getpid(), SIGSTOP);
    if (call != wanted.failAt)
        return false;
    errno = wanted.error;
    return true;
}

bool lacking(const char *what) {
    static const char *const list = getenv("WATCH_LACKS");
    // With blanks around it: the name of a call may be the start of another one's.
    if (list == nullptr || std::strstr(list, (std::string(" ") + what + ' ').c_str()) == nullptr)
        return false;
    errno = EINVAL;
    return true;
}

// True for each third call.
bool unsteady() {
    static std::atomic<int> turn{0};
    if (!lacking("steady") || ++turn % 3 != 0)
        return false;
    errno = EPERM;
    return true;
}

// The file that a refused rename deleted, or is to delete when it is closed (`doomed`).
std::string taken;
std::atomic<bool> doomed{false};

bool isOpenHere(const std::string &path) {
    for (int fd = 0; fd < 256; ++fd)
        if (pathOf(fd) == path)
            return true;
    return false;
}

// True if a rename to this path, of an archive, or the deletion of this path is refused.
bool refused(const char *name, const std::string &path) {
    if (std::strcmp(name, "mkdirat") == 0 && unsteady())
        return true;
    if (std::strcmp(name, "unlinkat") == 0 && path.ends_with(".part") && lacking("open-unlink") &&
        isOpenHere(path)) {
        errno = EBUSY;
        return true;
    }
    if (std::strncmp(name, "rename", 6) != 0 || !path.ends_with(".vl2"))
        return false;
    const bool isThere = syscall(SYS_faccessat, AT_FDCWD, path.c_str(), F_OK) == 0;
    const bool first = taken.empty() && isThere;
    const bool byOpen = first && lacking("open-rename") && isOpenHere(path);
    const bool byHeld = first && lacking("held-rename");
    const bool again = path == taken && lacking("any-rename");
    if (byOpen || byHeld)
        taken = path;
    doomed = doomed || byOpen;
    if (byHeld)
        syscall(SYS_unlinkat, AT_FDCWD, path.c_str(), 0);
    errno = EACCES;
    return byOpen || byHeld || again;
}

template<typename Function>
Function next(const char *name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

// NOLINTBEGIN(bugprone-macro-parentheses): the parameters are lists with parentheses of their own

// One line for each call: its parameters, the path that it changes, the arguments passed on.
#define WATCHED(result, name, parameters, path, arguments)                                         \
    extern "C" result name parameters {                                                            \
        static const auto real = next<result(*) parameters>(#name);                                \
        if (counted(#name, path) || lacking(#name) || refused(#name, path))                        \
            return -1;                                                                             \
        return real arguments;                                                                     \
    }

// The same for calls that write `n` bytes, with the arguments that write half of them.
#define WATCHED_WRITE(name, parameters, path, arguments, halfOfThem)                               \
    extern "C" ssize_t name parameters {                                                           \
        static const auto real = next<ssize_t(*) parameters>(#name);                               \
        if (counted(#name, path, [&] { static_cast<void>(!real halfOfThem); }))                    \
            return -1;                                                                             \
        return real arguments;                                                                     \
    }

// NOLINTEND(bugprone-macro-parentheses)

WATCHED_WRITE(write, (int fd, const void *p, size_t n), pathOf(fd), (fd, p, n), (fd, p, n / 2))
WATCHED_WRITE(pwrite, (int fd, const void *p, size_t n, off_t o), pathOf(fd), (fd, p, n, o),
              (fd, p, n / 2, o))
WATCHED_WRITE(copy_file_range,
              (int in, off64_t *inAt, int out, off64_t *outAt, size_t n, unsigned flags),
              pathOf(out), (in, inAt, out, outAt, n, flags), (in, inAt, out, outAt, n / 2, flags))
WATCHED(int, ftruncate, (int fd, off_t size), pathOf(fd), (fd, size))
WATCHED(int, fallocate, (int fd, int mode, off_t at, off_t n), pathOf(fd), (fd, mode, at, n))
WATCHED(int, fsync, (int fd), pathOf(fd), (fd))
WATCHED(int, rename, (const char *from, const char *to), pathOf(AT_FDCWD, to), (from, to))
WATCHED(int, renameat, (int a, const char *from, int b, const char *to), pathOf(b, to),
        (a, from, b, to))
WATCHED(int, renameat2, (int a, const char *from, int b, const char *to, unsigned flags),
        pathOf(b, to), (a, from, b, to, flags))
WATCHED(int, linkat, (int a, const char *from, int b, const char *to, int flags), pathOf(b, to),
        (a, from, b, to, flags))
WATCHED(int, unlinkat, (int fd, const char *path, int flags), pathOf(fd, path), (fd, path, flags))
WATCHED(int, rmdir, (const char *path), pathOf(AT_FDCWD, path), (path))
WATCHED(int, mkdir, (const char *path, mode_t mode), pathOf(AT_FDCWD, path), (path, mode))
WATCHED(int, mkdirat, (int fd, const char *path, mode_t mode), pathOf(fd, path), (fd, path, mode))
WATCHED(int, fchmod, (int fd, mode_t mode), pathOf(fd), (fd, mode))
WATCHED(int, fchown, (int fd, uid_t user, gid_t group), pathOf(fd), (fd, user, group))
WATCHED(int, chmod, (const char *path, mode_t mode), pathOf(AT_FDCWD, path), (path, mode))
WATCHED(int, fsetxattr, (int fd, const char *n, const void *p, size_t size, int flags), pathOf(fd),
        (fd, n, p, size, flags))
WATCHED(int, lremovexattr, (const char *path, const char *n), pathOf(AT_FDCWD, path), (path, n))

namespace {

int openCounted(const char *name, int folder, const char *path, int flags, mode_t mode) {
    const bool nameless = (flags & O_TMPFILE) == O_TMPFILE;
    if (nameless && lacking("nameless"))
        return -1;
    if (((flags & (O_CREAT | O_TRUNC)) != 0 || nameless) && counted(name, pathOf(folder, path)))
        return -1;
    if ((flags & O_CREAT) != 0 && pathOf(folder, path).starts_with(settings().folder) && unsteady())
        return -1;
    const bool reopens = !nameless && (flags & O_ACCMODE) != O_RDONLY &&
                         (flags & (O_TRUNC | O_EXCL)) == 0 && std::strstr(path, ".part") != nullptr;
    if (reopens && lacking("reopen") && syscall(SYS_faccessat, folder, path, F_OK) == 0) {
        errno = EOPNOTSUPP;
        return -1;
    }
    return static_cast<int>(syscall(SYS_openat, folder, path, flags, mode));
}

mode_t modeOf(int flags, va_list arguments) {
    const bool given = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return given ? static_cast<mode_t>(va_arg(arguments, unsigned)) : 0;
}

} // namespace

#define WATCHED_OPEN(name, parameters, folder)                                                     \
    extern "C" int name parameters {                                                               \
        va_list arguments;                                                                         \
        va_start(arguments, flags);                                                                \
        const mode_t mode = modeOf(flags, arguments);                                              \
        va_end(arguments);                                                                         \
        return openCounted(#name, folder, path, flags, mode);                                      \
    }

WATCHED_OPEN(open, (const char *path, int flags, ...), AT_FDCWD)
WATCHED_OPEN(openat, (int folder, const char *path, int flags, ...), folder)

extern "C" int pthread_create(pthread_t *thread, const pthread_attr_t *attributes,
                              void *(*start)(void *), void *argument) {
    static const auto real =
        next<int (*)(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *)>(
            "pthread_create");
    const char *wanted = getenv("WATCH_THREADS");
    Dl_info caller{};
    if (wanted == nullptr || std::strcmp(wanted, "none") != 0 ||
        (dladdr(__builtin_return_address(0), &caller) != 0 &&
         std::strstr(caller.dli_fname, "/libQt6") != nullptr))
        return real(thread, attributes, start, argument);
    counted("no-thread", settings().folder);
    return EAGAIN;
}

extern "C" int fdatasync(int fd) {
    static const auto real = next<int (*)(int)>("fdatasync");
    const std::string path = pathOf(fd);
    if (counted("fdatasync", path))
        return -1;
    const bool lost = lacking("room");
    errno = EIO;
    return lost ? -1 : real(fd);
}

extern "C" int futimens(int fd, const timespec *times) {
    static const auto real = next<int (*)(int, const timespec *)>("futimens");
    if (counted("futimens", pathOf(fd)))
        return -1;
    const bool one = times != nullptr && times[0].tv_nsec == UTIME_OMIT && lacking("one-time");
    return one || lacking("times") ? 0 : real(fd, times);
}

extern "C" int close(int fd) {
    static const auto real = next<int (*)(int)>("close");
    const int result = real(fd);
    if (doomed && !isOpenHere(taken)) {
        doomed = false;
        syscall(SYS_unlinkat, AT_FDCWD, taken.c_str(), 0);
    }
    return result;
}

extern "C" int flock(int fd, int operation) {
    const bool readOnly = (fcntl(fd, F_GETFL) & O_ACCMODE) == O_RDONLY;
    if (lacking("locks") || (readOnly && (operation & LOCK_EX) != 0 && lacking("read-locks"))) {
        errno = lacking("locks") ? ENOLCK : EBADF;
        return -1;
    }
    return static_cast<int>(syscall(SYS_flock, fd, operation));
}

extern "C" ssize_t pread(int fd, void *p, size_t n, off_t at) {
    static const auto real = next<ssize_t (*)(int, void *, size_t, off_t)>("pread");
    if (lacking("room") && pathOf(fd).ends_with(".part")) // a file that was written just now
        return 0;
    const ssize_t got = real(fd, p, n, at);
    if (lacking("still-times") && pathOf(fd).starts_with(settings().folder))
        syscall(SYS_utimensat, fd, nullptr, nullptr, 0);
    return got;
}

extern "C" int fstatvfs(int fd, struct statvfs *disk) {
    static const auto real = next<int (*)(int, struct statvfs *)>("fstatvfs");
    const int result = real(fd, disk);
    if (lacking("room"))
        disk->f_bavail = 0;
    if (lacking("size"))
        disk->f_blocks = disk->f_bfree = disk->f_bavail = 0;
    return result;
}

extern "C" int fstatfs(int fd, struct statfs *disk) {
    static const auto real = next<int (*)(int, struct statfs *)>("fstatfs");
    const int result = real(fd, disk);
    if (lacking("local"))
        disk->f_type = static_cast<decltype(disk->f_type)>(SMB2_SUPER_MAGIC);
    return result;
}

extern "C" int ioctl(int fd, unsigned long request, ...) {
    va_list arguments;
    va_start(arguments, request);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    if ((request == FICLONE || request == FICLONERANGE) && counted("ioctl", pathOf(fd)))
        return -1;
    return static_cast<int>(syscall(SYS_ioctl, fd, request, argument));
}
