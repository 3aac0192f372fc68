#include "storage/posix/fileLock.h"

#include "storage/posix/descriptor.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>

namespace platform {

namespace {

// Reopens the file with write access under the same descriptor number.
bool openForWriting(int descriptor) {
    char path[40];
    std::snprintf(path, sizeof path, "/proc/self/fd/%d", descriptor);
    const Descriptor writable(::open(path, O_RDWR | O_CLOEXEC));
    return writable.isOpen() && dup3(writable.get(), descriptor, O_CLOEXEC) >= 0;
}

} // namespace

Lock tryLock(int descriptor) {
    int kind = LOCK_EX;
    bool reopened = false;
    while (flock(descriptor, kind | LOCK_NB) != 0) {
        switch (errno) {
        case EINTR:
            break;
        case EWOULDBLOCK:
        case EACCES: // the word of an SMB server
            return Lock::Held;
        case EBADF: // NFS 4
            if (reopened)
                return Lock::None;
            reopened = true;
            kind = openForWriting(descriptor) ? LOCK_EX : LOCK_SH;
            break;
        default:
            return Lock::None;
        }
    }
    return Lock::Taken;
}

} // namespace platform
