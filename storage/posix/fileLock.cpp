#include "storage/posix/fileLock.h"

#include "storage/posix/descriptor.h"
#include "storage/posix/fileInfo.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>

namespace platform {

namespace {

// Reopens the file with write access under the same descriptor number.
bool openForWriting(int descriptor) {
    const Descriptor writable(::open(pathThrough(descriptor).c_str(), O_RDWR | O_CLOEXEC));
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
