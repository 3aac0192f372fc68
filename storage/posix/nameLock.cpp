#include "storage/lockWait.h"
#include "storage/posix/descriptor.h"
#include "storage/posix/disk.h"
#include "storage/posix/fileLock.h"
#include "storage/posix/systemError.h"
#include "storage/storage.h"
#include "storage/temporary.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

// Creates or opens the lock file. A file of another user is opened for reading, only to be locked;
// also one that a killed process left behind if the disk reopens no file for writing.
int openLockFile(int folder, const char *lockFile) {
    const int file = createSteadily(folder, [&] {
        return openat(folder, lockFile, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
    });
    if (file >= 0) {
        static_cast<void>(fchmod(file, 0666)); // for other users who lock the name
        return file;
    }
    const int error = errno;
    if (error == EACCES || error == EOPNOTSUPP) {
        const int readable = openat(folder, lockFile, O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
        errno = error;
        return readable;
    }
    return file;
}

} // namespace

// A locked file beside the file of that name. It is removed before it is unlocked; if the process
// is killed, it is removed with other temporaries.
Status NameLock::acquire(const Folder &folder, const std::string &name, Content /*content*/,
                         std::chrono::milliseconds wait, const KeepGoing &keepGoing) {
    release();
    const int descriptor = static_cast<int>(folder.m_handle);
    m_lockFile = lockFileName(name);
    const LockWait until(wait, keepGoing, folder.pathOf(name));
    for (;;) {
        InputFile file;
        file.m_handle = openLockFile(descriptor, m_lockFile.c_str());
        if (!file.isOpen() && (errno == EACCES || errno == EPERM || errno == EROFS))
            return {};
        // Some servers refuse to open a file that is being deleted, or that another system has
        // locked.
        if (!file.isOpen() && errno != ENOENT && errno != EBUSY && errno != ETXTBSY)
            return errnoStatus(errno, "cannot lock a name in", folder.path());
        const Lock lock = file.isOpen() ? tryLock(static_cast<int>(file.m_handle)) : Lock::Held;
        if (lock == Lock::None) {
            unlinkat(descriptor, m_lockFile.c_str(), 0);
            return {};
        }
        if (lock == Lock::Taken) {
            m_folder = &folder;
            m_file = std::move(file);
            // The previous holder may have removed the file, which makes its lock useless.
            if (isHeldIn(folder))
                return {};
            m_file.close();
        }
        if (Status waited = until.pause(std::chrono::milliseconds(lock == Lock::Held ? 10 : 0));
            !waited.ok())
            return waited;
    }
}

Status NameLock::take(const Folder &folder, const std::string &name, std::chrono::milliseconds wait,
                      const KeepGoing &keepGoing) {
    release();
    if (replacesOpenFiles(static_cast<int>(folder.m_handle)))
        return {};
    if (Status status = acquire(folder, name, Content::Empty, wait, keepGoing);
        !status.ok() || !isHeld())
        return status;
    // The system may cache for a second or more which file had the name, and its content, before
    // another machine replaced it. A listing refreshes that.
    std::vector<FolderItem> items;
    return folder.list(items);
}

void NameLock::writeNote(const std::string &note) {
    const int file = static_cast<int>(m_file.m_handle);
    // The file may be one that a killed process left behind, with a note of its own.
    if (ftruncate(file, 0) == 0)
        static_cast<void>(pwrite(file, note.data(), note.size(), 0) < 0);
}

void NameLock::release() {
    if (!m_file.isOpen())
        return;
    if (isHeldIn(*m_folder)) // else the name is another program's lock
        removeAndClose(static_cast<int>(m_folder->m_handle), m_lockFile.c_str(),
                       [&] { m_file.close(); });
    m_file.close();
}

} // namespace platform
