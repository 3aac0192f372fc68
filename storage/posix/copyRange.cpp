#include "storage/posix/copyRange.h"

#include "storage/posix/diskKind.h"

#include <linux/fs.h>
#include <sys/ioctl.h>

namespace platform {

namespace {

// Blocks that are shared are whole, of at most this size on the disks that can share.
constexpr std::uint64_t kSharedBlock = 64U << 10U;

} // namespace

std::uint64_t shareRange(int from, std::uint64_t offset, int to, std::uint64_t place,
                         std::uint64_t size) {
    struct file_clone_range range {};
    range.src_fd = from;
    range.src_offset = offset;
    range.src_length = size - size % kSharedBlock;
    range.dest_offset = place;
    return range.src_length > 0 && ioctl(to, FICLONERANGE, &range) == 0 ? range.src_length : 0;
}

bool copiesElsewhere(int file) {
    return !isOwnDevice(file);
}

} // namespace platform
