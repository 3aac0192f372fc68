#include "registry/posix/hiveLock.h"

#include "storage/posix/fileInfo.h"
#include "storage/posix/paths.h"
#include "storage/posix/systemError.h"

#include <fcntl.h>

#include <cerrno>
#include <chrono>
#include <thread>

namespace platform::hive {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kLongestWait{3};
constexpr std::chrono::milliseconds kPause{2};

// Locks or unlocks one byte of the lock file. EAGAIN if another process or thread holds it.
int setLock(int file, off_t byte, short kind) {
    struct flock range = {};
    range.l_type = kind;
    range.l_whence = SEEK_SET;
    range.l_start = byte;
    range.l_len = 1;
    if (::fcntl(file, F_OFD_SETLK, &range) == 0)
        return 0;
    return errno == EACCES ? EAGAIN : errno;
}

int waitForLock(int file, off_t byte, Clock::time_point end) {
    int result = setLock(file, byte, F_WRLCK);
    while (result == EAGAIN && Clock::now() < end) {
        std::this_thread::sleep_for(kPause);
        result = setLock(file, byte, F_WRLCK);
    }
    return result;
}

} // namespace

// Byte 0 of the file is the lock, byte 1 the right to be the next holder. A process that releases
// the lock and requests it again at once finds that right taken, and cannot keep the others out.
Status HiveLock::acquire(const std::string &path) {
    Descriptor file(
        ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666));
    if (!file.isOpen())
        return errnoStatus(errno, "cannot open", path);
    std::string folderPath;
    std::string name;
    splitPath(path, folderPath, name);
    const Descriptor folder(::open(folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    giveToOwnerOf(folder.get(), file.get());
    const Clock::time_point end = Clock::now() + kLongestWait;
    int result = waitForLock(file.get(), 1, end);
    if (result == 0) {
        result = waitForLock(file.get(), 0, end);
        setLock(file.get(), 1, F_UNLCK);
    }
    if (result != 0)
        return errnoStatus(result, "cannot lock", path);
    m_file = std::move(file);
    return {};
}

} // namespace platform::hive
