#include "bench/syncClock.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<std::int64_t> syncNanoseconds{0};

int timed(long call, int fd) {
    const auto start = std::chrono::steady_clock::now();
    const long result = syscall(call, fd);
    const auto spent = std::chrono::steady_clock::now() - start;
    syncNanoseconds += std::chrono::duration_cast<std::chrono::nanoseconds>(spent).count();
    return static_cast<int>(result);
}

} // namespace

// These definitions replace those of the C library, also for calls from the zip libraries.
extern "C" int fsync(int fd) {
    return timed(SYS_fsync, fd);
}
extern "C" int fdatasync(int fd) {
    return timed(SYS_fdatasync, fd);
}
extern "C" int syncfs(int fd) noexcept {
    return timed(SYS_syncfs, fd);
}

double bench::syncMilliseconds() {
    return static_cast<double>(syncNanoseconds.load()) / 1e6;
}
