#include "storage/posix/paths.h"

#include "storage/pathText.h"
#include "storage/posix/descriptor.h"
#include "storage/posix/disk.h"
#include "storage/posix/dosRecord.h"
#include "storage/posix/fileInfo.h"
#include "storage/posix/systemError.h"
#include "storage/storage.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

struct Free {
    void operator()(char *text) const { std::free(text); }
};

} // namespace

char pathSeparator() {
    return '/';
}

bool isPathSeparator(char c) {
    return c == '/';
}

void splitPath(const std::string &path, std::string &folder, std::string &name) {
    const std::size_t slash = path.rfind('/');
    const bool bare = slash == std::string::npos;
    folder = bare ? std::string(".") : path.substr(0, std::max<std::size_t>(slash, 1));
    name = bare ? path : path.substr(slash + 1);
}

Status followLinks(const std::string &path, std::string &target) {
    constexpr int kMostLinks = 40;
    target = path;
    for (int i = 0; i < kMostLinks; ++i) {
        char next[PATH_MAX];
        const ssize_t length = readlink(target.c_str(), next, sizeof next);
        if (length < 0 || static_cast<std::size_t>(length) == sizeof next)
            return {};
        // A relative target begins in the link's folder.
        target.resize(next[0] == '/' ? 0 : target.rfind('/') + 1);
        target.append(next, static_cast<std::size_t>(length));
    }
    return errnoStatus(ELOOP, "cannot find", path);
}

Status makeFolders(const std::string &path, Permissions permissions) {
    const bool isPrivate = permissions == Permissions::Private;
    std::size_t at = 0;
    while (at < path.size()) {
        at = path.find('/', at + 1);
        const std::string part = path.substr(0, at);
        if (mkdir(part.c_str(), isPrivate ? 0700 : 0777) == 0) {
            if (isPrivate) {
                const Descriptor made(open(part.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
                const Descriptor parent(
                    openat(made.get(), "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
                giveToOwnerOf(parent.get(), made.get());
            }
        } else if (errno != EEXIST) {
            // A parent folder without write permission is no obstacle as long as it exists.
            const int error = errno;
            struct stat st {};
            if (stat(part.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
                return errnoStatus(error, "cannot make the folder", part);
        }
        if (at == std::string::npos)
            break;
    }
    return {};
}

Status makeOneFolder(const std::string &path) {
    if (mkdir(path.c_str(), 0777) != 0)
        return errnoStatus(errno, "cannot make the folder", path);
    return {};
}

Status removeOneFolder(const std::string &path) {
    if (rmdir(path.c_str()) != 0)
        return errnoStatus(errno, "cannot delete the folder", path);
    return {};
}

Status attributesOf(const std::string &path, std::uint8_t &attributes) {
    struct stat st {};
    if (stat(path.c_str(), &st) != 0)
        return errnoStatus(errno, "cannot examine", path);
    attributes = readDosBits(Disk::of(st.st_dev), path) |
                 (S_ISDIR(st.st_mode) ? kAttributeFolder : kAttributeNormal) |
                 (isReadOnly(st.st_mode) ? kAttributeReadOnly : kAttributeNormal);
    return {};
}

Status resolvePath(const std::string &path, std::string &folder, std::string &name) {
    std::string target;
    if (Status status = followLinks(path, target); !status.ok())
        return status;
    splitPath(target, folder, name);
    const std::unique_ptr<char, Free> real(realpath(folder.c_str(), nullptr));
    if (!real)
        return errnoStatus(errno, "cannot find", path);
    folder = real.get();
    return {};
}

std::string narrowFromUtf8(std::string_view text) {
    return std::string(text);
}

std::string utf8FromNarrow(std::string_view text) {
    return std::string(text);
}

bool linesEndInCrLf() {
    return false;
}

bool namesIgnoreCase() {
    return false;
}

void reloadTimeZone() {
    tzset();
}

bool localTime(std::int64_t seconds, std::tm &parts) {
    const auto instant = static_cast<std::time_t>(seconds);
    return localtime_r(&instant, &parts) != nullptr;
}

std::int64_t systemStart() {
    struct timespec now {};
    struct timespec running {}; // also while the machine slept
    clock_gettime(CLOCK_REALTIME, &now);
    clock_gettime(CLOCK_BOOTTIME, &running);
    return (static_cast<std::int64_t>(now.tv_sec) - running.tv_sec) * 1'000'000'000 + now.tv_nsec -
           running.tv_nsec;
}

unsigned processorCount() {
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) == 0)
        return static_cast<unsigned>(CPU_COUNT(&set));
    const long count = sysconf(_SC_NPROCESSORS_ONLN);
    return count > 0 ? static_cast<unsigned>(count) : 1;
}

} // namespace platform
