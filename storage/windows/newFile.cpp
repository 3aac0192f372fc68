#include "storage/temporary.h"
#include "storage/windows/system.h"

#include <aclapi.h>
#include <algorithm>
#include <memory>

namespace platform {

namespace {

constexpr std::size_t kCopyStep = 1U << 20;
constexpr DWORD kLargestWrite = 16U << 20;
} // namespace

Status NewFile::create(const Folder &folder, Guard) {
    discard();
    m_folder = &folder;
    m_size = 0;
    Access access;
    access.rights = FILE_GENERIC_READ | FILE_GENERIC_WRITE | DELETE | WRITE_DAC;
    access.disposition = FILE_CREATE;
    access.options = FILE_NON_DIRECTORY_FILE;
    // Other programs cannot delete or rename it. That is the guard; every file has it here.
    access.share = FILE_SHARE_READ;
    NTSTATUS status = 0;
    Handle file;
    do {
        m_temporary = temporaryName();
        status = openAt(handleOf(folder.m_handle), m_temporary, access, file);
        if (errorOf(status) == ERROR_ACCESS_DENIED && (access.rights & WRITE_DAC) != 0) {
            access.rights &= ~ACCESS_MASK{WRITE_DAC}; // some disks refuse that right
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

Status NewFile::info(FileInfo &info) const {
    const DWORD error = fileInfo(handleOf(m_handle), info);
    return error != ERROR_SUCCESS ? errorStatus(error, "cannot examine a file in", m_folder->path())
                                  : Status();
}

Status NewFile::writeAt(std::uint64_t offset, const void *data, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        OVERLAPPED position{};
        position.Offset = static_cast<DWORD>(offset + done);
        position.OffsetHigh = static_cast<DWORD>((offset + done) >> 32U);
        DWORD count = 0;
        const auto wanted = static_cast<DWORD>(std::min<std::size_t>(size - done, kLargestWrite));
        if (!WriteFile(handleOf(m_handle), static_cast<const char *>(data) + done, wanted, &count,
                       &position))
            return errorStatus(GetLastError(), "cannot write in", m_folder->path());
        if (count == 0)
            return errorStatus(ERROR_DISK_FULL, "cannot write in", m_folder->path());
        done += count;
    }
    m_size = std::max(m_size, offset + size);
    return {};
}

Status NewFile::copyFrom(const InputFile &source, std::uint64_t offset, std::uint64_t size,
                         const KeepGoing &keepGoing) {
    if (size == 0)
        return {};
    const std::size_t room = static_cast<std::size_t>(std::min<std::uint64_t>(size, kCopyStep));
    const std::unique_ptr<char[]> buffer(new char[room]);
    while (size > 0) {
        if (keepGoing && !keepGoing())
            return {Failure::Cancelled, "cancelled", source.path()};
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(size, room));
        std::size_t got = 0;
        if (Status status = source.readAt(offset, buffer.get(), wanted, got); !status.ok())
            return status;
        if (got == 0)
            return {Failure::EndsEarly, source.path() + " ends early", source.path()};
        if (Status status = write(buffer.get(), got); !status.ok())
            return status;
        offset += got;
        size -= got;
    }
    return {};
}

Status NewFile::truncate(std::uint64_t size) {
    FILE_END_OF_FILE_INFO end{};
    end.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
    if (!SetFileInformationByHandle(handleOf(m_handle), FileEndOfFileInfo, &end, sizeof end))
        return errorStatus(GetLastError(), "cannot write in", m_folder->path());
    m_size = size;
    return {};
}

Status NewFile::openWritten(InputFile &file) const {
    file.close();
    file.m_path = m_folder->pathOf(m_temporary);
    HANDLE own = INVALID_HANDLE_VALUE;
    if (!DuplicateHandle(GetCurrentProcess(), handleOf(m_handle), GetCurrentProcess(), &own, 0,
                         FALSE, DUPLICATE_SAME_ACCESS))
        return errorStatus(GetLastError(), "cannot read back in", m_folder->path());
    file.m_handle = numberOf(own);
    return {};
}

Status NewFile::setModified(std::int64_t modified) {
    FILE_BASIC_INFO basic{};
    // Rounded down, before 1970 too.
    std::int64_t ticks = modified / 100;
    if (modified % 100 < 0)
        --ticks;
    basic.LastWriteTime.QuadPart = ticks + kTicksTo1970;
    IO_STATUS_BLOCK block{};
    const NTSTATUS status = NtSetInformationFile(handleOf(m_handle), &block, &basic, sizeof basic,
                                                 FileBasicInformation);
    return status < 0
               ? errorStatus(errorOf(status), "cannot set the time of a file in", m_folder->path())
               : Status();
}

Status NewFile::setAttributes(std::uint8_t attributes) {
    constexpr std::uint8_t kKept =
        kAttributeReadOnly | kAttributeHidden | kAttributeSystem | kAttributeArchive;
    if ((attributes & (kAttributeReadOnly | kAttributeHidden | kAttributeSystem)) == 0)
        return {}; // as it was created
    const NTSTATUS status = setOpenedAttributes(handleOf(m_handle), attributes & kKept);
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
                        nullptr, nullptr, &list, nullptr, &descriptor) != ERROR_SUCCESS)
        return;
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

Status NewFile::copyProperties(const InputFile &other) {
    FileInfo info;
    std::uint8_t attributes = 0;
    Status status = other.info(info);
    if (status.ok())
        status = other.attributes(attributes);
    if (status.ok())
        status = setAttributes(attributes);
    return status.ok() ? setModified(info.modified) : status;
}

void NewFile::giveToFolderOwner() {} // ownership is inherited

Status NewFile::sync() {
    if (!FlushFileBuffers(handleOf(m_handle)))
        return errorStatus(GetLastError(), "cannot sync a file in", m_folder->path());
    return {};
}

void NewFile::discard() {
    if (m_handle == -1)
        return;
    HANDLE file = handleOf(std::exchange(m_handle, -1));
    if (!m_temporary.empty()) {
        deleteOpened(file);
        m_temporary.clear();
    }
    CloseHandle(file);
}

} // namespace platform
