#include "storage/posix/descriptor.h"
#include "storage/posix/disk.h"
#include "storage/posix/dosRecord.h"
#include "storage/posix/fileInfo.h"
#include "storage/posix/fileLock.h"
#include "storage/posix/systemError.h"
#include "storage/storage.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <utility>

namespace platform {

namespace {

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};

FileInfo::Kind kindOf(unsigned char type) {
    switch (type) {
    case DT_REG:
        return FileInfo::Kind::File;
    case DT_DIR:
        return FileInfo::Kind::Folder;
    case DT_LNK:
        return FileInfo::Kind::Link;
    default:
        return FileInfo::Kind::Other;
    }
}

int linkFlag(Folder::Links links) {
    return links == Folder::Links::Follow ? 0 : AT_SYMLINK_NOFOLLOW;
}

} // namespace

void Folder::close() {
    if (m_handle != -1) {
        ::close(static_cast<int>(m_handle));
        m_handle = -1;
        m_disk = nullptr;
    }
}

Disk &Folder::disk() const {
    Disk *disk = m_disk;
    if (disk == nullptr) {
        struct stat st {};
        static_cast<void>(fstat(static_cast<int>(m_handle), &st));
        m_disk = disk = &Disk::of(st.st_dev);
    }
    return *disk;
}

Status Folder::open(const std::string &path) {
    close();
    m_path = path;
    m_handle = ::open(path.empty() ? "." : path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return isOpen() ? Status() : errnoStatus(errno, "cannot open the folder", path);
}

Status Folder::open(const Location &location) {
    return open(location.path());
}

Status Folder::openFolder(const std::string &name, Folder &folder) const {
    const int descriptor = openat(static_cast<int>(m_handle), name.c_str(),
                                  O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor < 0)
        return errnoStatus(errno, "cannot open the folder", pathOf(name));
    folder.close();
    folder.m_path = pathOf(name);
    folder.m_handle = descriptor;
    return {};
}

Status Folder::makeFolder(const std::string &name) const {
    if (createSteadily(static_cast<int>(m_handle), [&] {
            return mkdirat(static_cast<int>(m_handle), name.c_str(), 0777);
        }) != 0)
        return errnoStatus(errno, "cannot make the folder", pathOf(name));
    return {};
}

Status Folder::openFile(const std::string &name, InputFile &file, Links links,
                        FileInfo &info) const {
    file.close();
    file.m_path = pathOf(name);
    int descriptor = -1;
    Status status = openInputAt(static_cast<int>(m_handle), name, file.m_path,
                                links == Links::Follow, descriptor, info);
    file.m_handle = descriptor;
    return status;
}

Status Folder::info(const std::string &name, FileInfo &info, Links links) const {
    struct stat st {};
    if (fstatat(static_cast<int>(m_handle), name.c_str(), &st, linkFlag(links)) != 0)
        return errnoStatus(errno, "cannot examine", pathOf(name));
    info = fileInfo(st);
    return {};
}

std::int64_t Folder::birthTime(const std::string &name) const {
    struct statx found {};
    const bool known = statx(static_cast<int>(m_handle), name.c_str(), AT_SYMLINK_NOFOLLOW,
                             STATX_BTIME, &found) == 0 &&
                       (found.stx_mask & STATX_BTIME) != 0;
    return known ? std::int64_t{found.stx_btime.tv_sec} * 1'000'000'000 + found.stx_btime.tv_nsec
                 : 0;
}

bool Folder::isRemote() const {
    return !replacesOpenFiles(static_cast<int>(m_handle));
}

bool Folder::keepsInfo() const {
    return isRemote();
}

bool Folder::stampsWrites() const {
    return platform::stampsWrites(static_cast<int>(m_handle));
}

Status Folder::freshInfo(const std::string &name, FileInfo &info, Links links) const {
    struct statx fresh {};
    if (statx(static_cast<int>(m_handle), name.c_str(), linkFlag(links) | AT_STATX_FORCE_SYNC,
              STATX_BASIC_STATS, &fresh) != 0)
        return this->info(name, info, links); // a kernel without it, or the file's error
    info = fileInfo(fresh);
    return {};
}

Status Folder::list(std::vector<FolderItem> &items) const {
    items.clear();
    // A separate handle, because duplicates share the position in the folder.
    const int descriptor =
        openat(static_cast<int>(m_handle), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return errnoStatus(errno, "cannot list the folder", m_path);
    const std::unique_ptr<DIR, CloseFolder> folder(fdopendir(descriptor));
    if (!folder) {
        const int error = errno;
        ::close(descriptor);
        return errnoStatus(error, "cannot list the folder", m_path);
    }
    while (true) {
        errno = 0;
        const dirent *item = readdir(folder.get());
        if (item == nullptr)
            break;
        const std::string_view name = item->d_name;
        if (name == "." || name == "..")
            continue;
        FolderItem found{std::string(name), kindOf(item->d_type)};
        if (item->d_type == DT_UNKNOWN) {
            FileInfo known;
            if (info(found.name, known).ok())
                found.kind = known.kind;
        }
        items.push_back(std::move(found));
    }
    return errno == 0 ? Status() : errnoStatus(errno, "cannot list the folder", m_path);
}

Status Folder::list(std::vector<FolderItem> &items, std::vector<FileInfo> &infos) const {
    Status status = list(items);
    infos.assign(items.size(), {});
    for (std::size_t i = 0; i < items.size(); ++i)
        static_cast<void>(info(items[i].name, infos[i]));
    return status;
}

Status Folder::removeFile(const std::string &name) const {
    if (unlinkat(static_cast<int>(m_handle), name.c_str(), 0) != 0)
        return errnoStatus(errno, "cannot delete", pathOf(name));
    return {};
}

Status Folder::removeFolder(const std::string &name) const {
    if (unlinkat(static_cast<int>(m_handle), name.c_str(), AT_REMOVEDIR) != 0)
        return errnoStatus(errno, "cannot delete the folder", pathOf(name));
    return {};
}

Status Folder::clearAttributes(const std::string &name, FileInfo *cleared) const {
    const int folder = static_cast<int>(m_handle);
    const std::string path = pathOf(name);
    struct stat st {};
    if (fstatat(folder, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0)
        return errnoStatus(errno, "cannot examine", path);
    const bool wasReadOnly = S_ISREG(st.st_mode) && isReadOnly(st.st_mode);
    if (wasReadOnly) {
        // Through a descriptor: the name may lead to another file or a link by now. An extended
        // attribute can be changed only while the file is writable.
        const Descriptor file(openat(folder, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
        if (!file.isOpen() || fstat(file.get(), &st) != 0 ||
            (S_ISREG(st.st_mode) &&
             chmod(pathThrough(file.get()).c_str(), (st.st_mode & 07777U) | S_IWUSR) != 0))
            return errnoStatus(errno, "cannot change the attributes of", path);
    }
    if (!S_ISREG(st.st_mode))
        return {Failure::WrongKind, path + " is not an ordinary file", path};
    bool dropped = false;
    Status status = dropDosBitsAt(Disk::of(st.st_dev), folder, name, path, dropped);
    if (!status.ok() || cleared == nullptr)
        return status;
    *cleared = fileInfo(st);
    return wasReadOnly || dropped ? info(name, *cleared) : Status();
}

std::uint8_t Folder::recordedAttributes(const FolderItem &item) const {
    return readDosBitsAt(disk(), static_cast<int>(m_handle), item.name);
}

Status Folder::freeSpace(std::uint64_t &bytes) const {
    struct statvfs st {};
    int error = fstatvfs(static_cast<int>(m_handle), &st) == 0 ? 0 : errno;
    if (error == 0 && st.f_blocks == 0) // without a limit, or one that a FUSE program does not know
        error = ENOSYS;
    if (error != 0)
        return errnoStatus(error, "cannot examine the disk of", m_path);
    const std::uint64_t blocks = geteuid() == 0 ? st.f_bfree : st.f_bavail;
    bytes = blocks * st.f_frsize;
    return {};
}

Status Folder::sync() const {
    if (fsync(static_cast<int>(m_handle)) != 0 && errno != EINVAL && errno != ENOTSUP)
        return errnoStatus(errno, "cannot sync the folder", m_path);
    return {};
}

void Folder::removeStaleTemporaries() const {
    std::vector<FolderItem> items;
    if (!list(items).ok())
        return;
    for (const FolderItem &item : items) {
        InputFile file;
        if (item.kind == FileInfo::Kind::File && isTemporaryName(item.name) &&
            openFile(item.name, file).ok() &&
            tryLock(static_cast<int>(file.m_handle)) == Lock::Taken)
            removeAndClose(static_cast<int>(m_handle), item.name.c_str(), [&] { file.close(); });
    }
}

} // namespace platform
