#include "storage/posix/diskKind.h"

#include <linux/magic.h>
#include <sys/vfs.h>

namespace platform {

namespace {

struct FileSystem {
    unsigned long type;
    bool onDevice; // of this machine, not in memory
};

// The system's header has no names for the plain numbers.
constexpr FileSystem kOwn[] = {
    {EXT4_SUPER_MAGIC, true},       {XFS_SUPER_MAGIC, true},
    {BTRFS_SUPER_MAGIC, true},      {F2FS_SUPER_MAGIC, true},
    {MSDOS_SUPER_MAGIC, true},      {EXFAT_SUPER_MAGIC, true},
    {TMPFS_MAGIC, false},           {RAMFS_MAGIC, false},
    {OVERLAYFS_SUPER_MAGIC, false}, {ECRYPTFS_SUPER_MAGIC, false},
    {REISERFS_SUPER_MAGIC, false},  {NILFS_SUPER_MAGIC, false},
    {0x2FC12FC1, false} /* ZFS */,  {0xCA451A4E, false} /* bcachefs */,
    {0x3153464A, false} /* JFS */,  {0x7366746E, false} /* NTFS */,
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

bool isOwnDevice(int descriptor) {
    const FileSystem *own = ownFileSystem(descriptor);
    return own != nullptr && own->onDevice;
}

bool replacesOpenFiles(int descriptor) {
    return ownFileSystem(descriptor) != nullptr;
}

} // namespace platform
