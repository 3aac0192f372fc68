#include "storage/windows/system.h"

#include <bit>
#include <limits>

namespace platform {

namespace {

constexpr DWORD kClearable = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                             FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE;
constexpr DWORD kReported = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;

// Newer information classes than those in the compiler's headers.
constexpr auto kDispositionEx = std::bit_cast<FILE_INFORMATION_CLASS>(64U);
constexpr ULONG kDelete = 0x1;
constexpr ULONG kPosixSemantics = 0x2;
constexpr ULONG kIgnoreReadOnly = 0x10;

} // namespace

bool isLink(DWORD attributes, DWORD tag) {
    // An unknown tag counts as a link, which is the safe side.
    return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           (tag == 0 || IsReparseTagNameSurrogate(tag));
}

std::uint8_t dosBits(DWORD attributes) {
    return static_cast<std::uint8_t>(attributes & kReported);
}

std::int64_t nanoseconds(const LARGE_INTEGER &time) {
    return (time.QuadPart - kTicksTo1970) * 100;
}

std::int64_t changeTime(const LARGE_INTEGER &time) {
    return time.QuadPart != 0 ? nanoseconds(time) : std::numeric_limits<std::int64_t>::max();
}

DWORD fileInfo(HANDLE file, FileInfo &info) {
    BY_HANDLE_FILE_INFORMATION known{};
    FILE_BASIC_INFO times{};
    if (!GetFileInformationByHandle(file, &known) ||
        !GetFileInformationByHandleEx(file, FileBasicInfo, &times, sizeof times))
        return GetLastError();
    FILE_ATTRIBUTE_TAG_INFO tag{};
    const bool reparses = (known.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if (reparses)
        GetFileInformationByHandleEx(file, FileAttributeTagInfo, &tag, sizeof tag);
    info = {};
    if (reparses && isLink(known.dwFileAttributes, tag.ReparseTag))
        info.kind = FileInfo::Kind::Link;
    else if ((known.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        info.kind = FileInfo::Kind::Folder;
    else if (GetFileType(file) == FILE_TYPE_DISK)
        info.kind = FileInfo::Kind::File;
    info.readOnly = (known.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0;
    info.plain = (known.dwFileAttributes & kClearable) == 0;
    info.size = static_cast<std::uint64_t>(known.nFileSizeHigh) << 32U | known.nFileSizeLow;
    info.modified = nanoseconds(times.LastWriteTime);
    info.changed = changeTime(times.ChangeTime);
    info.device = known.dwVolumeSerialNumber;
    info.id = static_cast<std::uint64_t>(known.nFileIndexHigh) << 32U | known.nFileIndexLow;
    return ERROR_SUCCESS;
}

// The call fails for a file of this machine.
bool isOnServer(HANDLE file) {
    FILE_REMOTE_PROTOCOL_INFO protocol{};
    return GetFileInformationByHandleEx(file, FileRemoteProtocolInfo, &protocol, sizeof protocol) !=
           0;
}

NTSTATUS setOpenedAttributes(HANDLE file, DWORD attributes) {
    FILE_BASIC_INFO basic{};
    basic.FileAttributes = attributes == 0 ? FILE_ATTRIBUTE_NORMAL : attributes;
    IO_STATUS_BLOCK block{};
    return NtSetInformationFile(file, &block, &basic, sizeof basic, FileBasicInformation);
}

NTSTATUS deleteOpened(HANDLE file) {
    // Removes the name at once, even if the file is open.
    IO_STATUS_BLOCK block{};
    ULONG flags = kDelete | kPosixSemantics | kIgnoreReadOnly;
    NTSTATUS status = NtSetInformationFile(file, &block, &flags, sizeof flags, kDispositionEx);
    if (status >= 0)
        return status;
    // Fallback for older systems and other disks.
    FILE_BASIC_INFO before{};
    GetFileInformationByHandleEx(file, FileBasicInfo, &before, sizeof before);
    const bool readOnly = (before.FileAttributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (readOnly)
        setOpenedAttributes(file, before.FileAttributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
    BOOLEAN gone = TRUE;
    status = NtSetInformationFile(file, &block, &gone, sizeof gone, FileDispositionInformation);
    if (status < 0 && readOnly)
        setOpenedAttributes(file, before.FileAttributes);
    return status;
}

} // namespace platform
