#include "platform/windows/storage_system.h"

#include <aclapi.h>
#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

namespace platform {

namespace {

constexpr std::size_t kCopyStep = 1U << 20;
constexpr DWORD kLargestWrite = 16U << 20;
// A scanner that looks into what was just written lets go of it within this time.
constexpr int kRenameRounds = 25;
constexpr DWORD kRenamePause = 20; // ms

// Newer numbers of NtSetInformationFile than the compiler's headers know.
constexpr auto kRenameEx = std::bit_cast<FILE_INFORMATION_CLASS>(65U);
constexpr ULONG kReplaceIfExists = 0x1;
constexpr ULONG kPosixSemantics = 0x2;
constexpr ULONG kIgnoreReadOnly = 0x40;

constexpr auto kInvalidParameter = static_cast<NTSTATUS>(0xC000000D);
constexpr auto kNotSupported = static_cast<NTSTATUS>(0xC00000BB);

std::string temporaryName() {
    static const std::uint64_t start = [] {
        std::random_device random;
        return static_cast<std::uint64_t>(random()) << 32U | random();
    }();
    static std::atomic<std::uint64_t> next{0};
    char name[40];
    std::snprintf(name, sizeof name, ".orvel-%08lx%08lx.part",
                  static_cast<unsigned long>((start + next) >> 32U),
                  static_cast<unsigned long>((start + next++) & 0xFFFFFFFFU));
    return name;
}

// Both forms of the system's request begin alike: the first has a byte where the second has flags.
struct RenameRequest {
    ULONG flags;
    HANDLE folder;
    ULONG length; // of the name, in bytes
    WCHAR name[1];
};

NTSTATUS rename(HANDLE file, HANDLE folder, const std::wstring &name, ULONG flags,
                FILE_INFORMATION_CLASS form) {
    const std::size_t size = offsetof(RenameRequest, name) + (name.size() + 1) * sizeof(wchar_t);
    std::vector<std::uint64_t> buffer((size + 7) / 8);
    auto *request = reinterpret_cast<RenameRequest *>(buffer.data());
    request->flags = flags;
    request->folder = folder;
    request->length = static_cast<ULONG>(name.size() * sizeof(wchar_t));
    std::memcpy(request->name, name.data(), request->length);
    IO_STATUS_BLOCK block{};
    const NTSTATUS status =
        NtSetInformationFile(file, &block, request, static_cast<ULONG>(size), form);
    if (status != kInvalidParameter && status != kNotSupported) {
        return status;
    }
    // Disks of other machines take no folder. A name alone stays in the one that the file is in.
    request->folder = nullptr;
    return NtSetInformationFile(file, &block, request, static_cast<ULONG>(size), form);
}

bool isKept(NTSTATUS status) {
    const DWORD error = errorOf(status);
    return error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED;
}

// Whether anybody has the file open: renaming over it says no more than that it is denied.
bool isHeld(HANDLE folder, const std::string &name) {
    Access access;
    access.rights = FILE_READ_DATA;
    access.options = FILE_NON_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT;
    access.share = 0;
    Handle file;
    return errorOf(openAt(folder, name, access, file)) == ERROR_SHARING_VIOLATION;
}

// Clears read-only of a file that is to be replaced. True where that has changed it.
bool makeWritable(HANDLE folder, const std::string &name) {
    Access access;
    access.rights = FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES;
    access.options = FILE_NON_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT;
    Handle file;
    FILE_BASIC_INFO basic{};
    return openAt(folder, name, access, file) >= 0 &&
           GetFileInformationByHandleEx(file.get(), FileBasicInfo, &basic, sizeof basic) &&
           (basic.FileAttributes & FILE_ATTRIBUTE_READONLY) != 0 &&
           setOpenedAttributes(file.get(),
                               basic.FileAttributes & ~DWORD{FILE_ATTRIBUTE_READONLY}) >= 0;
}

void makeReadOnly(HANDLE folder, const std::string &name) {
    Access access;
    access.rights = FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES;
    access.options = FILE_NON_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT;
    Handle file;
    FILE_BASIC_INFO basic{};
    if (openAt(folder, name, access, file) >= 0 &&
        GetFileInformationByHandleEx(file.get(), FileBasicInfo, &basic, sizeof basic)) {
        setOpenedAttributes(file.get(), basic.FileAttributes | FILE_ATTRIBUTE_READONLY);
    }
}

} // namespace

Status NewFile::create(const Folder &folder, Guard) {
    discard();
    m_folder = &folder;
    m_size = 0;
    Access access;
    access.rights = FILE_GENERIC_READ | FILE_GENERIC_WRITE | DELETE | WRITE_DAC;
    access.disposition = FILE_CREATE;
    access.options = FILE_NON_DIRECTORY_FILE;
    // Nobody else may delete or rename it: that is the guard, and every file has it here.
    access.share = FILE_SHARE_READ;
    NTSTATUS status = 0;
    Handle file;
    do {
        m_temporary = temporaryName();
        status = openAt(handleOf(folder.m_handle), m_temporary, access, file);
        if (errorOf(status) == ERROR_ACCESS_DENIED && (access.rights & WRITE_DAC) != 0) {
            access.rights &= ~ACCESS_MASK{WRITE_DAC}; // a disk that grants no more than needed
            status = openAt(handleOf(folder.m_handle), m_temporary, access, file);
        }
    } while (status < 0 && errorOf(status) == ERROR_ALREADY_EXISTS);
    if (status < 0) {
        m_temporary.clear();
        return errorStatus(errorOf(status), "cannot create a file in", folder.path());
    }
    m_handle = numberOf(file.release());
    return {};
}

Status NewFile::write(const void *data, std::size_t size) {
    return writeAt(m_size, data, size);
}

Status NewFile::writeAt(std::uint64_t offset, const void *data, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        OVERLAPPED place{};
        place.Offset = static_cast<DWORD>(offset + done);
        place.OffsetHigh = static_cast<DWORD>((offset + done) >> 32U);
        DWORD count = 0;
        const auto wanted = static_cast<DWORD>(std::min<std::size_t>(size - done, kLargestWrite));
        if (!WriteFile(handleOf(m_handle), static_cast<const char *>(data) + done, wanted, &count,
                       &place)) {
            return errorStatus(GetLastError(), "cannot write in", m_folder->path());
        }
        if (count == 0) {
            return errorStatus(ERROR_DISK_FULL, "cannot write in", m_folder->path());
        }
        done += count;
    }
    m_size = std::max(m_size, offset + size);
    return {};
}

Status NewFile::copyFrom(const InputFile &source, std::uint64_t offset, std::uint64_t size,
                         const KeepGoing &keepGoing) {
    if (size == 0) {
        return {};
    }
    const std::size_t room = static_cast<std::size_t>(std::min<std::uint64_t>(size, kCopyStep));
    const std::unique_ptr<char[]> buffer(new char[room]);
    while (size > 0) {
        if (keepGoing && !keepGoing()) {
            return {Failure::Cancelled, "cancelled", source.path()};
        }
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(size, room));
        std::size_t got = 0;
        if (Status status = source.readAt(offset, buffer.get(), wanted, got); !status.ok()) {
            return status;
        }
        if (got == 0) {
            return {Failure::EndsEarly, source.path() + " ends early", source.path()};
        }
        if (Status status = write(buffer.get(), got); !status.ok()) {
            return status;
        }
        offset += got;
        size -= got;
    }
    return {};
}

Status NewFile::readAt(std::uint64_t offset, void *data, std::size_t size, std::size_t &got) const {
    if (const DWORD error = readHandleAt(handleOf(m_handle), offset, data, size, got)) {
        return errorStatus(error, "cannot read back in", m_folder->path());
    }
    return {};
}

Status NewFile::truncate(std::uint64_t size) {
    FILE_END_OF_FILE_INFO end{};
    end.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
    if (!SetFileInformationByHandle(handleOf(m_handle), FileEndOfFileInfo, &end, sizeof end)) {
        return errorStatus(GetLastError(), "cannot write in", m_folder->path());
    }
    m_size = size;
    return {};
}

Status NewFile::openWritten(InputFile &file) const {
    file.close();
    file.m_path = m_folder->pathOf(m_temporary);
    HANDLE own = INVALID_HANDLE_VALUE;
    if (!DuplicateHandle(GetCurrentProcess(), handleOf(m_handle), GetCurrentProcess(), &own, 0,
                         FALSE, DUPLICATE_SAME_ACCESS)) {
        return errorStatus(GetLastError(), "cannot read back in", m_folder->path());
    }
    file.m_handle = numberOf(own);
    return {};
}

Status NewFile::setModified(std::int64_t modified) {
    FILE_BASIC_INFO basic{};
    // Rounded down, before 1970 too.
    std::int64_t ticks = modified / 100;
    if (modified % 100 < 0) {
        --ticks;
    }
    basic.LastWriteTime.QuadPart = ticks + kTicksTo1970;
    IO_STATUS_BLOCK block{};
    const NTSTATUS status = NtSetInformationFile(handleOf(m_handle), &block, &basic, sizeof basic,
                                                 FileBasicInformation);
    return status < 0
               ? errorStatus(errorOf(status), "cannot set the time of a file in", m_folder->path())
               : Status();
}

Status NewFile::setAttributes(std::uint8_t attributes) {
    constexpr std::uint8_t kept =
        attributeReadOnly | attributeHidden | attributeSystem | attributeArchive;
    if ((attributes & (attributeReadOnly | attributeHidden | attributeSystem)) == 0) {
        return {}; // as it was created
    }
    const NTSTATUS status = setOpenedAttributes(handleOf(m_handle), attributes & kept);
    return status < 0 ? errorStatus(errorOf(status), "cannot set the attributes of a file in",
                                    m_folder->path())
                      : Status();
}

void NewFile::takeOverFrom(const InputFile &other) {
    HANDLE file = handleOf(m_handle);
    FILE_BASIC_INFO old{};
    if (GetFileInformationByHandleEx(handleOf(other.m_handle), FileBasicInfo, &old, sizeof old)) {
        FILE_BASIC_INFO basic{};
        basic.CreationTime = old.CreationTime;
        basic.FileAttributes =
            old.FileAttributes &
            (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
             FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED);
        IO_STATUS_BLOCK block{};
        NtSetInformationFile(file, &block, &basic, sizeof basic, FileBasicInformation);
    }
    PACL list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (GetSecurityInfo(handleOf(other.m_handle), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION,
                        nullptr, nullptr, &list, nullptr, &descriptor) != ERROR_SUCCESS) {
        return;
    }
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    DWORD revision = 0;
    GetSecurityDescriptorControl(descriptor, &control, &revision);
    const DWORD inheritance = (control & SE_DACL_PROTECTED) != 0
                                  ? PROTECTED_DACL_SECURITY_INFORMATION
                                  : UNPROTECTED_DACL_SECURITY_INFORMATION;
    SetSecurityInfo(file, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION | inheritance, nullptr, nullptr,
                    list, nullptr);
    LocalFree(descriptor);
}

Status NewFile::sync() {
    if (!FlushFileBuffers(handleOf(m_handle))) {
        return errorStatus(GetLastError(), "cannot sync a file in", m_folder->path());
    }
    return {};
}

Status NewFile::commit(const std::string &name, Replace replace, InputFile *replaced) {
    HANDLE folder = handleOf(m_folder->m_handle);
    HANDLE file = handleOf(m_handle);
    const std::wstring wide = wideFromUtf8(name);
    if (wide.empty() || !isComponent(wide)) {
        discard();
        return errorStatus(ERROR_INVALID_NAME, "cannot create", m_folder->pathOf(name));
    }
    const bool replaces = replace == Replace::Yes;
    // The newer form replaces a file that somebody reads. Not every system and disk knows it.
    NTSTATUS status = rename(file, folder, wide,
                             replaces ? kReplaceIfExists | kPosixSemantics | kIgnoreReadOnly : 0,
                             replaces ? kRenameEx : FileRenameInformation);
    if (status < 0 && replaces) {
        FileInfo old;
        const bool known = replaced != nullptr && replaced->info(old).ok();
        if (replaced != nullptr) {
            replaced->close();
        }
        // While its reader is waited for, another program may put its own file there.
        const auto isOld = [&] {
            FileInfo now;
            return !known || (m_folder->info(name, now).ok() && sameFile(now, old) &&
                              now.size == old.size && now.modified == old.modified);
        };
        status = rename(file, folder, wide, kReplaceIfExists, FileRenameInformation);
        FileInfo there;
        if (isKept(status) && m_folder->info(name, there).ok() &&
            there.kind == FileInfo::Kind::Folder) {
            discard();
            return {Failure::WrongKind, "cannot create " + m_folder->pathOf(name) + ": a folder",
                    m_folder->pathOf(name)};
        }
        const bool madeWritable = isKept(status) && makeWritable(folder, name);
        for (int round = 0; isKept(status) && round < kRenameRounds; ++round) {
            Sleep(round == 0 && madeWritable ? 0 : kRenamePause);
            if (!isOld()) {
                discard();
                return {Failure::Exists, m_folder->pathOf(name) + " was replaced meanwhile",
                        m_folder->pathOf(name)};
            }
            status = rename(file, folder, wide, kReplaceIfExists, FileRenameInformation);
        }
        if (status < 0 && madeWritable) {
            makeReadOnly(folder, name);
        }
        if (isKept(status) && isHeld(folder, name)) {
            discard();
            return {Failure::Busy, m_folder->pathOf(name) + " is in use by another program",
                    m_folder->pathOf(name)};
        }
    }
    if (status < 0) {
        discard();
        return errorStatus(errorOf(status), "cannot create", m_folder->pathOf(name));
    }
    m_temporary.clear();
    CloseHandle(handleOf(std::exchange(m_handle, -1)));
    return {};
}

void NewFile::discard() {
    if (m_handle == -1) {
        return;
    }
    HANDLE file = handleOf(std::exchange(m_handle, -1));
    if (!m_temporary.empty()) {
        deleteOpened(file);
        m_temporary.clear();
    }
    CloseHandle(file);
}

} // namespace platform
