#include "storage/lockWait.h"
#include "storage/posix/disk.h"
#include "storage/posix/fileInfo.h"
#include "storage/posix/fileLock.h"
#include "storage/posix/systemError.h"
#include "storage/storage.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace platform {

namespace {

enum class Lease { Taken, HasWriter, Refused };

// The system grants no read lease on a file that is open for writing. While it lasts, the signal
// that an opening would cause is one that is ignored.
Lease takeLease(int file, std::uint64_t device) {
    Disk &disk = Disk::of(device);
    if (disk.refuses(Disk::Leases) || fcntl(file, F_SETSIG, SIGURG) != 0)
        return Lease::Refused;
    if (disk.attempt(Disk::Leases, [&] { return fcntl(file, F_SETLEASE, F_RDLCK); }) == 0)
        return Lease::Taken;
    if (errno != EAGAIN)
        return Lease::Refused;
    if (knowsWriters(file))
        return Lease::HasWriter;
    disk.refuse(Disk::Leases);
    return Lease::Refused;
}

} // namespace

Status InputFile::open(const std::string &path, FileInfo &info) {
    close();
    int descriptor = -1;
    Status status = openInputAt(AT_FDCWD, path, path, true, descriptor, info);
    m_handle = descriptor;
    m_path = path;
    return status;
}

Status InputFile::open(const Location &location, FileInfo &info) {
    return open(location.path(), info);
}

void InputFile::close() {
    if (m_handle != -1) {
        ::close(static_cast<int>(m_handle));
        m_handle = -1;
    }
    m_holdsOff = false;
}

Status InputFile::readAt(std::uint64_t offset, void *data, std::size_t size,
                         std::size_t &got) const {
    got = 0;
    if (offset > INT64_MAX)
        return {};
    while (got < size) {
        const ssize_t n = pread(static_cast<int>(m_handle), static_cast<char *>(data) + got,
                                size - got, static_cast<off_t>(offset + got));
        if (n == 0)
            break;
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return errnoStatus(errno, "cannot read", m_path);
        }
        got += static_cast<std::size_t>(n);
    }
    return {};
}

Status InputFile::info(FileInfo &info) const {
    struct stat st {};
    if (fstat(static_cast<int>(m_handle), &st) != 0)
        return errnoStatus(errno, "cannot examine", m_path);
    info = fileInfo(st);
    return {};
}

bool InputFile::isRemote() const {
    return !replacesOpenFiles(static_cast<int>(m_handle));
}

bool InputFile::isOpenForWriting(std::uint64_t device) const {
    const int file = static_cast<int>(m_handle);
    const Lease lease = takeLease(file, device);
    if (lease == Lease::Taken)
        static_cast<void>(fcntl(file, F_SETLEASE, F_UNLCK));
    return lease == Lease::HasWriter;
}

// The lease ends when the file is closed.
bool InputFile::holdOffWriters(std::uint64_t device) {
    const Lease lease = takeLease(static_cast<int>(m_handle), device);
    m_holdsOff = lease == Lease::Taken;
    return lease != Lease::HasWriter;
}

// As soon as a program waits, the system tells the lease that it is to become.
bool InputFile::heldOffWriters() const {
    return !m_holdsOff || fcntl(static_cast<int>(m_handle), F_GETLEASE) == F_RDLCK;
}

void InputFile::dropCache() const {
    if (isOpen())
        posix_fadvise(static_cast<int>(m_handle), 0, 0, POSIX_FADV_DONTNEED);
}

Status InputFile::attributes(std::uint8_t &attributes) const {
    FileInfo known;
    if (Status status = info(known); !status.ok())
        return status;
    attributes = readDosBits(Disk::of(known.device), static_cast<int>(m_handle));
    if (known.readOnly)
        attributes |= kAttributeReadOnly;
    return {};
}

Status InputFile::lock(std::chrono::milliseconds wait, const KeepGoing &keepGoing) {
    const LockWait until(wait, keepGoing, m_path);
    while (tryLock(static_cast<int>(m_handle)) == Lock::Held)
        if (Status waited = until.pause(); !waited.ok())
            return waited;
    return {};
}

} // namespace platform
