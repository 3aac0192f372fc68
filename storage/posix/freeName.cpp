#include "storage/posix/freeName.h"

#include "storage/posix/disk.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

// For file systems without RENAME_NOREPLACE: most fail with EEXIST for a second link. On the
// others, such as a shared folder of a virtual machine, the name is checked first. Two threads may
// extract entries whose names differ in case only: on a disk that ignores case, one comes second.
int renameByLink(Disk &disk, int folder, const char *from, const char *to) {
    if (disk.attempt(Disk::Links, [&] { return linkat(folder, from, folder, to, 0); }) == 0) {
        unlinkat(folder, from, 0);
        return 0;
    }
    static std::mutex mutex;
    const int failed = errno;
    const std::lock_guard lock(mutex);
    struct stat st {};
    if (failed == EEXIST || fstatat(folder, to, &st, AT_SYMLINK_NOFOLLOW) == 0) {
        errno = EEXIST;
        return -1;
    }
    return errno == ENOENT ? renameat(folder, from, folder, to) : -1;
}

} // namespace

int renameToFree(Disk &disk, int folder, const std::string &from, const std::string &to) {
    const int result = disk.attempt(Disk::ExclusiveRename, [&] {
        return renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_NOREPLACE);
    });
    if (result != 0 && disk.refuses(Disk::ExclusiveRename))
        return renameByLink(disk, folder, from.c_str(), to.c_str());
    return result;
}

} // namespace platform
