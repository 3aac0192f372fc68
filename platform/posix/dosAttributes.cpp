#include "platform/posix/dosAttributes.h"

#include "platform/files.h"

#include <cerrno>
#include <cstdlib>
#include <sys/xattr.h>

#include <array>

namespace platform {

namespace {

constexpr const char *kAttributeName = "user.DOSATTRIB";
constexpr int kKeptBits = AttributeHidden | AttributeSystem | AttributeArchive;
// What is worth an error where it cannot be kept; the archive bit means nothing to anybody here.
constexpr int kNeededBits = AttributeHidden | AttributeSystem;

// Samba's record: an empty text, its version, then the fields that are valid, then the bits.
constexpr qsizetype kRecordVersion = 2;
constexpr qsizetype kRecordValid = 8;
constexpr qsizetype kRecordBits = 12;

unsigned littleEndian(const QByteArray &bytes, qsizetype at, qsizetype count) {
    unsigned value = 0;
    for (qsizetype i = count; i-- > 0;)
        value = value << 8U | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

using ReadAttribute = ssize_t (*)(const char *, const char *, void *, std::size_t);

int readBits(ReadAttribute read, const char *path) {
    std::array<char, 256> value; // NOLINT(*-member-init): the call below fills it
    const ssize_t size = read(path, kAttributeName, value.data(), value.size());
    return size > 0 ? parseStoredBits(QByteArray(value.data(), size)) : 0;
}

int storeBits(const char *path, int bits) {
    int result = 0;
    if (bits == 0) {
        result = ::removexattr(path, kAttributeName);
    } else {
        const QByteArray text = "0x" + QByteArray::number(bits, 16);
        result = ::setxattr(path, kAttributeName, text.constData(),
                            static_cast<std::size_t>(text.size()), 0);
    }
    if (result == 0 || (bits & kNeededBits) == 0)
        return 0;
    return errno;
}

} // namespace

int parseStoredBits(const QByteArray &value) {
    if (value.startsWith("0x") || value.startsWith("0X"))
        return static_cast<int>(std::strtoul(value.constData(), nullptr, 16)) & kKeptBits;
    const bool isRecord = value.size() >= kRecordBits + 4 && value[0] == '\0' &&
                          littleEndian(value, kRecordVersion, 2) >= 3 &&
                          (littleEndian(value, kRecordValid, 4) & 1U) != 0;
    return isRecord ? static_cast<int>(littleEndian(value, kRecordBits, 4)) & kKeptBits : 0;
}

int storedBits(const char *path) {
    return readBits(::getxattr, path);
}

int storedBitsOfEntry(const char *path) {
    return readBits(::lgetxattr, path);
}

bool dropStoredBits(const char *path) {
    return ::lremovexattr(path, kAttributeName) == 0 || errno == ENODATA || errno == ENOTSUP;
}

int attributeBits(const char *path, const struct stat &info) {
    int bits = storedBits(path);
    if (S_ISDIR(info.st_mode))
        bits |= AttributeDirectory;
    // access() tells root that everything can be written.
    if ((info.st_mode & S_IWUSR) == 0)
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
