#include "storage/posix/diskKind.h"
#include "storage/posix/fileLock.h"
#include "storage/posix/systemError.h"
#include "storage/storage.h"
#include "storage/temporary.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace platform {

namespace {

// Makes or opens the file. Another user's is opened only to be locked.
int openClaim(int folder, const char *claim) {
    const int file = openat(folder, claim, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (file >= 0) {
        static_cast<void>(fchmod(file, 0666)); // for other users who claim the name
        return file;
    }
    const int error = errno;
    if (error == EACCES) {
        const int readable = openat(folder, claim, O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
        errno = error;
        return readable;
    }
    return file;
}

// Whoever released it has removed it: its lock is worth nothing then.
bool isStillThere(int folder, const char *claim, int file) {
    struct stat opened {};
    struct stat there {};
    return fstat(file, &opened) == 0 && fstatat(folder, claim, &there, AT_SYMLINK_NOFOLLOW) == 0 &&
           opened.st_dev == there.st_dev && opened.st_ino == there.st_ino;
}

} // namespace

// A locked file beside the claimed one, which is removed before it is unlocked. What a killed
// process leaves of it is removed with other temporaries.
Status NameLock::take(const Folder &folder, const std::string &name, std::chrono::milliseconds wait,
                      const KeepGoing &keepGoing) {
    release();
    const int descriptor = static_cast<int>(folder.m_handle);
    if (replacesOpenFiles(descriptor))
        return {};
    const std::string claim = claimName(name);
    const auto end = std::chrono::steady_clock::now() + wait;
    for (;;) {
        InputFile file;
        file.m_handle = openClaim(descriptor, claim.c_str());
        if (!file.isOpen() && (errno == EACCES || errno == EPERM || errno == EROFS))
            return {};
        // A file that is about to go cannot be opened on some servers, nor one that another system
        // claims the name with.
        if (!file.isOpen() && errno != ENOENT && errno != EBUSY && errno != ETXTBSY)
            return errnoStatus(errno, "cannot claim a name in", folder.path());
        const Lock lock = file.isOpen() ? tryLock(static_cast<int>(file.m_handle)) : Lock::Held;
        if (lock == Lock::None) {
            unlinkat(descriptor, claim.c_str(), 0);
            return {};
        }
        if (lock == Lock::Taken &&
            isStillThere(descriptor, claim.c_str(), static_cast<int>(file.m_handle))) {
            m_folder = &folder;
            m_nameLock = claim;
            m_file = std::move(file);
            // The system may remember for a second or more which file had the claimed name, and
            // what was in it, before another machine replaced that. A listing shows it what is
            // there.
            std::vector<FolderItem> items;
            return folder.list(items);
        }
        if (keepGoing && !keepGoing())
            return {Failure::Cancelled, "cancelled", folder.pathOf(name)};
        if (std::chrono::steady_clock::now() >= end) {
            return {Failure::Busy, folder.pathOf(name) + " is in use by another program",
                    folder.pathOf(name)};
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(lock == Lock::Held ? 10 : 0));
    }
}

void NameLock::release() {
    if (m_file.isOpen()) {
        unlinkat(static_cast<int>(m_folder->m_handle), m_nameLock.c_str(), 0);
        m_file.close();
    }
}

} // namespace platform
