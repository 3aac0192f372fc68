#include "storage/posix/fileInfo.h"

#include "storage/posix/disk.h"
#include "storage/posix/dosRecord.h"
#include "storage/posix/systemError.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

namespace platform {

namespace {

constexpr std::uint8_t kHiddenOrSystem = kAttributeHidden | kAttributeSystem;

template<typename Time>
std::int64_t nanoseconds(const Time &time) {
    return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

FileInfo::Kind kindOf(mode_t mode) {
    if (S_ISREG(mode))
        return FileInfo::Kind::File;
    if (S_ISDIR(mode))
        return FileInfo::Kind::Folder;
    return S_ISLNK(mode) ? FileInfo::Kind::Link : FileInfo::Kind::Other;
}

} // namespace

std::string pathThrough(int descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor);
}

FileInfo fileInfo(const struct stat &st) {
    FileInfo info;
    info.kind = kindOf(st.st_mode);
    info.readOnly = isReadOnly(st.st_mode);
    info.size = static_cast<std::uint64_t>(st.st_size);
    info.modified = nanoseconds(st.st_mtim);
    info.changed = nanoseconds(st.st_ctim);
    info.device = st.st_dev;
    info.id = st.st_ino;
    return info;
}

FileInfo fileInfo(const struct statx &st) {
    FileInfo info;
    info.kind = kindOf(st.stx_mode);
    info.readOnly = isReadOnly(st.stx_mode);
    info.size = st.stx_size;
    info.modified = nanoseconds(st.stx_mtime);
    info.changed = nanoseconds(st.stx_ctime);
    info.device = makedev(st.stx_dev_major, st.stx_dev_minor);
    info.id = st.stx_ino;
    return info;
}

Status openInputAt(int folder, const std::string &name, const std::string &shown, bool followLinks,
                   int &descriptor, FileInfo &info) {
    const int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | (followLinks ? 0 : O_NOFOLLOW);
    descriptor = openat(folder, name.c_str(), flags);
    if (descriptor < 0)
        return errnoStatus(errno, "cannot open", shown);
    struct stat st {};
    if (fstat(descriptor, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(descriptor);
        descriptor = -1;
        return {Failure::WrongKind, "cannot open " + shown + ": not an ordinary file", shown};
    }
    info = fileInfo(st);
    return {};
}

void giveToOwnerOf(int folder, int file) {
    struct stat st {};
    if (geteuid() == 0 && fstat(folder, &st) == 0 && st.st_uid != 0 &&
        fchown(file, st.st_uid, st.st_gid) != 0)
        return; // some disks know no owners
}

std::uint8_t readDosBits(Disk &disk, int descriptor) {
    return readDosBits([&](void *value, std::size_t size) {
               return disk.attempt(
                   Disk::Attributes,
                   [&] { return fgetxattr(descriptor, kDosAttributeName, value, size); });
           }) &
           kHiddenOrSystem;
}

std::uint8_t readDosBits(Disk &disk, const std::string &path) {
    return readDosBits([&](void *value, std::size_t size) {
               return disk.attempt(
                   Disk::Attributes,
                   [&] { return getxattr(path.c_str(), kDosAttributeName, value, size); });
           }) &
           kHiddenOrSystem;
}

Status writeDosBits(Disk &disk, int descriptor, std::uint8_t bits, const std::string &shown) {
    char text[8];
    const int length = std::snprintf(text, sizeof text, "0x%x", static_cast<unsigned>(bits));
    if (disk.attempt(Disk::Attributes, [&] {
            return fsetxattr(descriptor, kDosAttributeName, text, static_cast<std::size_t>(length),
                             0);
        }) != 0)
        return errnoStatus(errno, "cannot record the attributes of", shown);
    return {};
}

std::uint8_t readDosBitsAt(Disk &disk, int folder, const std::string &name) {
    const std::string path = pathThrough(folder) + "/" + name;
    return readDosBits([&](void *value, std::size_t size) {
        return disk.attempt(Disk::Attributes, [&] {
            return lgetxattr(path.c_str(), kDosAttributeName, value, size);
        });
    });
}

Status dropDosBitsAt(Disk &disk, int folder, const std::string &name, const std::string &shown,
                     bool &dropped) {
    const std::string path = pathThrough(folder) + "/" + name;
    dropped = disk.attempt(Disk::Attributes,
                           [&] { return lremovexattr(path.c_str(), kDosAttributeName); }) == 0;
    if (!dropped && errno != ENODATA && errno != ENOTSUP)
        return errnoStatus(errno, "cannot change the attributes of", shown);
    return {};
}

void copyAttributes(int from, int to) {
    const ssize_t size = flistxattr(from, nullptr, 0);
    if (size <= 0)
        return;
    std::vector<char> names(static_cast<std::size_t>(size));
    const ssize_t length = flistxattr(from, names.data(), names.size());
    std::vector<char> value;
    for (ssize_t at = 0; at < length;) {
        const char *name = names.data() + at;
        at += static_cast<ssize_t>(std::strlen(name)) + 1;
        const ssize_t wanted = fgetxattr(from, name, nullptr, 0);
        if (wanted < 0)
            continue;
        value.resize(static_cast<std::size_t>(wanted));
        const ssize_t got = fgetxattr(from, name, value.data(), value.size());
        if (got >= 0 && fsetxattr(to, name, value.data(), static_cast<std::size_t>(got), 0) != 0)
            continue; // may not be set, such as a security label
    }
}

} // namespace platform
