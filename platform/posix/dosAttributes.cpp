#include "platform/posix/dosAttributes.h"

#include "platform/files.h"
#include "storage/posix/dosRecord.h"

#include <cerrno>
#include <sys/xattr.h>

namespace platform {

namespace {

constexpr int kKeptBits = AttributeHidden | AttributeSystem | AttributeArchive;
// What is worth an error where it cannot be kept; the archive bit means nothing to anybody here.
constexpr int kNeededBits = AttributeHidden | AttributeSystem;

int storeBits(const char *path, int bits) {
    int result = 0;
    if (bits == 0) {
        result = ::removexattr(path, kDosAttributeName);
    } else {
        const QByteArray text = "0x" + QByteArray::number(bits, 16);
        result = ::setxattr(path, kDosAttributeName, text.constData(),
                            static_cast<std::size_t>(text.size()), 0);
    }
    if (result == 0 || (bits & kNeededBits) == 0)
        return 0;
    return errno;
}

} // namespace

int storedBits(const char *path) {
    return readDosBits([=](void *value, std::size_t size) {
        return ::getxattr(path, kDosAttributeName, value, size);
    });
}

int attributeBits(const char *path, const struct stat &info) {
    int bits = storedBits(path);
    if (S_ISDIR(info.st_mode))
        bits |= AttributeDirectory;
    // access() tells root that everything can be written.
    if (isReadOnly(info.st_mode))
        bits |= AttributeReadOnly;
    return bits;
}

int applyAttributes(const char *path, const struct stat &info, int value) {
    // An extended attribute can be changed only while the file can be written.
    mode_t mode = info.st_mode & 07777U;
    const auto changeMode = [&](mode_t wanted) {
        if (wanted == mode)
            return 0;
        mode = wanted;
        return ::chmod(path, wanted) == 0 ? 0 : errno;
    };
    const int kept = value & kKeptBits;
    if (storedBits(path) != kept) {
        if (const int failure = changeMode(mode | S_IWUSR))
            return failure;
        if (const int failure = storeBits(path, kept))
            return failure;
    }
    if ((value & AttributeReadOnly) != 0)
        return changeMode(mode & ~mode_t{S_IWUSR | S_IWGRP | S_IWOTH});
    return changeMode(mode | S_IWUSR);
}

} // namespace platform
