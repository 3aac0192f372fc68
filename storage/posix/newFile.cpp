#include "storage/posix/descriptor.h"
#include "storage/posix/disk.h"
#include "storage/posix/fileInfo.h"
#include "storage/posix/fileLock.h"
#include "storage/posix/systemError.h"
#include "storage/posix/writeBehind.h"
#include "storage/storage.h"
#include "storage/temporary.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/fs.h>
#include <memory>
#include <optional>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr mode_t kWriteBits = S_IWUSR | S_IWGRP | S_IWOTH;
constexpr std::uint64_t kRangeStep = 8U << 20;
// The fastest of 64 KiB to 4 MiB for a save: from 2 MiB on it took twice as long.
constexpr std::size_t kCopyStep = 512U << 10;
// From this size on, a call that prepares the range pays off.
constexpr std::uint64_t kLongRange = 4U << 20;
// A disk with less free space counts as full: less than one chunk of a large file.
constexpr std::uint64_t kLittleRoom = 1U << 20;
// Shared blocks are whole, of at most this size on the disks that can share.
constexpr std::uint64_t kSharedBlock = 64U << 10;

// A file without a name costs one change of the folder instead of two, and disappears if the
// process is killed. -1 if this system or disk does not support it.
int openNameless(Disk &disk, int folder) {
    static const bool canBeNamed = access("/proc/self/fd", X_OK) == 0;
    return canBeNamed
               ? disk.attempt(
                     Disk::NamelessFiles,
                     [&] { return openat(folder, ".", O_RDWR | O_TMPFILE | O_CLOEXEC, 0666); })
               : -1;
}

// Shares the whole blocks of a range of an open file with another one, from `target` on. Returns
// how many bytes are shared: 0 if the disk cannot.
std::uint64_t shareRange(Disk &disk, int from, std::uint64_t offset, int to, std::uint64_t target,
                         std::uint64_t size) {
    struct file_clone_range range {};
    range.src_fd = from;
    range.src_offset = offset;
    range.src_length = size - size % kSharedBlock;
    range.dest_offset = target;
    const bool shared = range.src_length > 0 && disk.attempt(Disk::ShareRange, [&] {
        return ioctl(to, FICLONERANGE, &range);
    }) == 0;
    return shared ? range.src_length : 0;
}

// The status for a failed write. Some file servers have no error code for a full disk.
Status writeStatus(int error, const char *what, int file, const std::string &path) {
    struct statvfs disk {};
    if (error != EIO || fstatvfs(file, &disk) != 0 || disk.f_blocks == 0 ||
        disk.f_bavail * disk.f_frsize >= kLittleRoom)
        return errnoStatus(error, what, path);
    Status status = errnoStatus(ENOSPC, what, path);
    status.message += std::string(" (the disk said: ") + std::strerror(error) + ")";
    return status;
}

} // namespace

Status NewFile::create(const Folder &folder, Guard guard) {
    discard();
    m_folder = &folder;
    m_size = 0;
    m_temporary.clear();
    m_isMarked = false;
    // A file that must be found after a crash, or locked, needs a name from the start.
    m_handle =
        guard == Guard::None ? openNameless(folder.disk(), static_cast<int>(folder.m_handle)) : -1;
    if (m_handle >= 0)
        return {};
    do {
        m_temporary = temporaryName();
        m_handle = createSteadily(static_cast<int>(folder.m_handle), [&] {
            return openat(static_cast<int>(folder.m_handle), m_temporary.c_str(),
                          O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
        });
    } while (m_handle < 0 && errno == EEXIST);
    if (m_handle < 0)
        return errnoStatus(errno, "cannot create a file in", folder.path());
    if (guard == Guard::Locked && tryLock(static_cast<int>(m_handle)) == Lock::Held) {
        // Another process took it for a stale temporary between its creation and its lock.
        discard();
        return {Failure::Busy, "cannot create a file in " + folder.path(), folder.path()};
    }
    return {};
}

Status NewFile::info(FileInfo &info) const {
    struct stat st {};
    if (fstat(static_cast<int>(m_handle), &st) != 0)
        return errnoStatus(errno, "cannot examine a file in", m_folder->path());
    info = fileInfo(st);
    info.plain = !m_isMarked && !info.readOnly;
    return {};
}

Status NewFile::writeAt(std::uint64_t offset, const void *data, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = pwrite(static_cast<int>(m_handle), static_cast<const char *>(data) + done,
                                 size - done, static_cast<off_t>(offset + done));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return writeStatus(errno, "cannot write in", static_cast<int>(m_handle),
                               m_folder->path());
        }
        done += static_cast<std::size_t>(n);
    }
    m_size = std::max(m_size, offset + size);
    return {};
}

Status NewFile::copyFrom(const InputFile &source, std::uint64_t offset, std::uint64_t size,
                         const KeepGoing &keepGoing) {
    const int target = static_cast<int>(m_handle);
    Disk &disk = m_folder->disk();
    const bool prepared = size >= kLongRange;
    // Drops prepared space that was not written.
    const auto trimmed = [&](Status status) {
        if (prepared)
            static_cast<void>(truncate(m_size));
        return status;
    };
    if (prepared) {
        const std::uint64_t shared =
            shareRange(disk, static_cast<int>(source.m_handle), offset, target, m_size, size);
        m_size += shared;
        offset += shared;
        size -= shared;
        // Allocating all blocks at once is cheaper than at each write, and a full disk shows at the
        // start. If unsupported, each write allocates.
        if (size > 0 &&
            disk.attempt(Disk::ReserveRange,
                         [&] {
                             return fallocate(target, 0, static_cast<off_t>(m_size),
                                              static_cast<off_t>(size));
                         }) != 0 &&
            (errno == ENOSPC || errno == EDQUOT))
            return trimmed(errnoStatus(errno, "cannot write in", m_folder->path()));
    }
    std::optional<WriteBehind> behind;
    if (size >= 2 * kRangeStep)
        behind.emplace(target, m_size);
    const std::uint64_t start = m_size;
    // A file server copies ranges by itself. A local file system does so page by page, which takes
    // longer than to read and write large chunks.
    bool ranges = !disk.refuses(Disk::CopyRange) && !isOwnDevice(target);
    std::unique_ptr<char[]> buffer;
    while (size > 0) {
        if (keepGoing && !keepGoing())
            return trimmed({Failure::Cancelled, "cancelled", source.path()});
        std::size_t step = 0;
        if (ranges) {
            auto from = static_cast<off_t>(offset);
            auto to = static_cast<off_t>(m_size);
            const ssize_t n = disk.attempt(Disk::CopyRange, [&] {
                return copy_file_range(static_cast<int>(source.m_handle), &from, target, &to,
                                       static_cast<std::size_t>(std::min(size, kRangeStep)), 0);
            });
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0 && (errno == ENOSPC || errno == EDQUOT))
                return trimmed(errnoStatus(errno, "cannot write in", m_folder->path()));
            // Some file systems fail, and some return 0 although a plain read returns bytes.
            if (n <= 0) {
                if (n == 0)
                    disk.refuse(Disk::CopyRange);
                ranges = false;
                continue;
            }
            step = static_cast<std::size_t>(n);
            m_size += step;
        } else {
            const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(size, kCopyStep));
            if (!buffer)
                buffer.reset(new char[wanted]);
            if (Status status = source.readAt(offset, buffer.get(), wanted, step); !status.ok())
                return trimmed(std::move(status));
            if (step == 0)
                return trimmed({Failure::EndsEarly, source.path() + " ends early", source.path()});
            if (Status status = write(buffer.get(), step); !status.ok())
                return trimmed(std::move(status));
        }
        offset += step;
        size -= step;
        if (behind)
            behind->reached(m_size - start);
    }
    return {};
}

Status NewFile::truncate(std::uint64_t size) {
    if (ftruncate(static_cast<int>(m_handle), static_cast<off_t>(size)) != 0)
        return errnoStatus(errno, "cannot write in", m_folder->path());
    m_size = size;
    return {};
}

Status NewFile::openWritten(InputFile &file) const {
    file.close();
    file.m_handle = fcntl(static_cast<int>(m_handle), F_DUPFD_CLOEXEC, 0);
    file.m_path = m_folder->pathOf(m_temporary);
    return file.isOpen() ? Status() : errnoStatus(errno, "cannot read back in", m_folder->path());
}

Status NewFile::setModified(std::int64_t modified) {
    std::int64_t seconds = modified / 1'000'000'000;
    std::int64_t rest = modified % 1'000'000'000;
    if (rest < 0) {
        rest += 1'000'000'000;
        --seconds;
    }
    // Both times, because some disks ignore a request for one.
    struct timespec times[2] = {};
    times[0].tv_nsec = UTIME_NOW;
    times[1].tv_sec = seconds;
    times[1].tv_nsec = rest;
    if (futimens(static_cast<int>(m_handle), times) != 0)
        return errnoStatus(errno, "cannot set the time of a file in", m_folder->path());
    return {};
}

Status NewFile::setAttributes(std::uint8_t attributes) {
    if ((attributes & (kAttributeHidden | kAttributeSystem)) != 0) {
        m_isMarked = true;
        const std::uint8_t bits =
            attributes & (kAttributeHidden | kAttributeSystem | kAttributeArchive);
        if (Status status =
                writeDosBits(m_folder->disk(), static_cast<int>(m_handle), bits, m_folder->path());
            !status.ok())
            return status;
    }
    if ((attributes & kAttributeReadOnly) != 0) {
        struct stat st {};
        if (fstat(static_cast<int>(m_handle), &st) != 0 ||
            fchmod(static_cast<int>(m_handle), st.st_mode & 07777 & ~kWriteBits) != 0)
            return errnoStatus(errno, "cannot make a file read-only in", m_folder->path());
    }
    return {};
}

void NewFile::takeOverFrom(const InputFile &other) {
    struct stat st {};
    const int descriptor = static_cast<int>(m_handle);
    if (fstat(static_cast<int>(other.m_handle), &st) != 0)
        return;
    // If the group cannot be set, the new group must not get the setgid right of the old one.
    mode_t mode = st.st_mode & 07777;
    if (fchown(descriptor, st.st_uid, st.st_gid) != 0 && fchown(descriptor, -1U, st.st_gid) != 0)
        mode &= ~static_cast<mode_t>(S_ISUID | S_ISGID);
    if (fchmod(descriptor, mode) != 0)
        return;
    m_isMarked = true;
    copyAttributes(static_cast<int>(other.m_handle), descriptor);
}

Status NewFile::copyProperties(const InputFile &other) {
    struct stat st {};
    const int from = static_cast<int>(other.m_handle);
    if (fstat(from, &st) != 0 || fchmod(static_cast<int>(m_handle), st.st_mode & 07777) != 0)
        return errnoStatus(errno, "cannot set the mode of a file in", m_folder->path());
    m_isMarked = true;
    copyAttributes(from, static_cast<int>(m_handle));
    return setModified(fileInfo(st).modified);
}

void NewFile::giveToFolderOwner() {
    giveToOwnerOf(static_cast<int>(m_folder->m_handle), static_cast<int>(m_handle));
}

Status NewFile::sync() {
    if (fdatasync(static_cast<int>(m_handle)) != 0) {
        return writeStatus(errno, "cannot sync a file in", static_cast<int>(m_handle),
                           m_folder->path());
    }
    return {};
}

void NewFile::discard() {
    if (m_handle < 0)
        return;
    // Deleted before it is closed: some FUSE clients learn of the closing late, and a file that is
    // deleted at that moment stays behind under the client's own name.
    const auto close = [&] { ::close(static_cast<int>(m_handle)); };
    if (m_temporary.empty())
        close();
    else
        removeAndClose(static_cast<int>(m_folder->m_handle), m_temporary.c_str(), close);
    m_temporary.clear();
    m_handle = -1;
}

} // namespace platform
