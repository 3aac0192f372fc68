#include "storage/posix/disk.h"

#include <linux/magic.h>
#include <map>
#include <mutex>
#include <sys/vfs.h>

namespace platform {

namespace {

struct FileSystem {
    unsigned long type;
    bool onDevice;     // of this machine, not in memory
    bool stampsWrites; // see the function
};

// The system's header has no names for the plain numbers.
constexpr FileSystem kOwn[] = {
    {EXT4_SUPER_MAGIC, true, true},        {XFS_SUPER_MAGIC, true, true},
    {BTRFS_SUPER_MAGIC, true, true},       {F2FS_SUPER_MAGIC, true, true},
    {MSDOS_SUPER_MAGIC, true, false},      {EXFAT_SUPER_MAGIC, true, false},
    {TMPFS_MAGIC, false, false},           {RAMFS_MAGIC, false, false},
    {OVERLAYFS_SUPER_MAGIC, false, false}, {ECRYPTFS_SUPER_MAGIC, false, false},
    {REISERFS_SUPER_MAGIC, false, false},  {NILFS_SUPER_MAGIC, false, false},
    {0x2FC12FC1, false, false} /* ZFS */,  {0xCA451A4E, false, false} /* bcachefs */,
    {0x3153464A, false, false} /* JFS */,  {0x7366746E, false, false} /* NTFS */,
};

const FileSystem *ownFileSystem(int descriptor) {
    struct statfs system {};
    if (fstatfs(descriptor, &system) != 0)
        return nullptr;
    for (const FileSystem &own : kOwn)
        if (own.type == static_cast<unsigned long>(system.f_type))
            return &own;
    return nullptr;
}

} // namespace

Disk &Disk::of(std::uint64_t device) {
    static std::mutex mutex;
    static auto &disks = *new std::map<std::uint64_t, Disk>; // used until the process ends
    const std::lock_guard lock(mutex);
    return disks[device];
}

bool Disk::isRefusal(Feature feature, int error) {
    switch (error) {
    case EOPNOTSUPP:
    case ENOSYS:
        return true;
    case EINVAL:
        return (feature & (NamelessFiles | ExclusiveRename | CopyRange | Leases)) != 0;
    case EISDIR:
        return feature == NamelessFiles;
    case EPERM: // the word for no links at all
        return feature == Links;
    case EXDEV:
        return feature == CopyRange;
    case ENOTTY:
        return feature == ShareRange;
    default:
        return false;
    }
}

bool isOwnDevice(int descriptor) {
    const FileSystem *own = ownFileSystem(descriptor);
    return own != nullptr && own->onDevice;
}

bool stampsWrites(int descriptor) {
    const FileSystem *own = ownFileSystem(descriptor);
    return own != nullptr && own->stampsWrites;
}

bool replacesOpenFiles(int descriptor) {
    return ownFileSystem(descriptor) != nullptr;
}

bool knowsWriters(int descriptor) {
    struct statfs system {};
    return replacesOpenFiles(descriptor) ||
           (fstatfs(descriptor, &system) == 0 && system.f_type == FUSE_SUPER_MAGIC);
}

} // namespace platform
