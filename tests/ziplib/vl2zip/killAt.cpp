// Preloaded into a program, this counts the calls that change files and ends the program with
// SIGKILL at a chosen one, so that a test can try them all.
//   ORVEL_KILL_AT     number of the call, from 1; at a write, half of it is done first
//   ORVEL_CALL_LOG    file that gets one line for each call

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

template<typename Function>
Function next(const char *name, Function /*like*/) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

std::atomic<int> calls{0};

void log(const char *what) {
    static const int file = [] {
        const char *path = std::getenv("ORVEL_CALL_LOG");
        return path == nullptr ? -1 : ::open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    }();
    if (file >= 0) {
        const auto real = next("write", &::write);
        static_cast<void>(!real(file, what, std::strlen(what)));
        static_cast<void>(!real(file, "\n", 1));
    }
}

// True where the program is to end in this call.
bool isLast(const char *what) {
    static const int at = [] {
        const char *text = std::getenv("ORVEL_KILL_AT");
        return text == nullptr ? 0 : std::atoi(text); // NOLINT(cert-err34-c): a test's own number
    }();
    log(what);
    return ++calls == at;
}

[[noreturn]] void end() {
    ::kill(::getpid(), SIGKILL);
    for (;;) {
        ::pause();
    }
}

} // namespace

extern "C" {

ssize_t pwrite(int file, const void *data, size_t size, off_t offset) {
    const auto real = next("pwrite", &::pwrite);
    if (isLast("write")) {
        static_cast<void>(!real(file, data, size / 2, offset));
        end();
    }
    return real(file, data, size, offset);
}

ssize_t copy_file_range(int from, off64_t *fromAt, int to, off64_t *toAt, size_t size,
                        unsigned flags) {
    const auto real = next("copy_file_range", &::copy_file_range);
    if (isLast("copy")) {
        static_cast<void>(!real(from, fromAt, to, toAt, size / 2, flags));
        end();
    }
    return real(from, fromAt, to, toAt, size, flags);
}

int ftruncate(int file, off_t size) noexcept {
    if (isLast("truncate")) {
        end();
    }
    return next("ftruncate", &::ftruncate)(file, size);
}

int fsync(int file) {
    if (isLast("sync")) {
        end();
    }
    return next("fsync", &::fsync)(file);
}

int fdatasync(int file) {
    if (isLast("sync")) {
        end();
    }
    return next("fdatasync", &::fdatasync)(file);
}

int renameat(int fromFolder, const char *from, int toFolder, const char *to) noexcept {
    if (isLast("rename")) {
        end();
    }
    return next("renameat", &::renameat)(fromFolder, from, toFolder, to);
}

int renameat2(int fromFolder, const char *from, int toFolder, const char *to,
              unsigned flags) noexcept {
    if (isLast("rename")) {
        end();
    }
    return next("renameat2", &::renameat2)(fromFolder, from, toFolder, to, flags);
}

int linkat(int fromFolder, const char *from, int toFolder, const char *to, int flags) noexcept {
    if (isLast("rename")) {
        end();
    }
    return next("linkat", &::linkat)(fromFolder, from, toFolder, to, flags);
}

int unlinkat(int folder, const char *name, int flags) noexcept {
    if (isLast("remove")) {
        end();
    }
    return next("unlinkat", &::unlinkat)(folder, name, flags);
}

int fchmod(int file, mode_t mode) noexcept {
    if (isLast("mode")) {
        end();
    }
    return next("fchmod", &::fchmod)(file, mode);
}
}
