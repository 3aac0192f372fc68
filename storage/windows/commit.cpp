#include "storage/windows/system.h"

#include <bit>
#include <cstring>
#include <vector>

// The commit of a new file.
namespace platform {

namespace {

// A virus scanner closes a newly written file within this time.
constexpr int kRenameRounds = 25;
constexpr DWORD kRenamePause = 20; // ms

// Newer information classes than those in the compiler's headers.
constexpr auto kRenameEx = std::bit_cast<FILE_INFORMATION_CLASS>(65U);
constexpr ULONG kReplaceIfExists = 0x1;
constexpr ULONG kPosixSemantics = 0x2;
constexpr ULONG kIgnoreReadOnly = 0x40;

constexpr auto kInvalidParameter = static_cast<NTSTATUS>(0xC000000D);
constexpr auto kNotSupported = static_cast<NTSTATUS>(0xC00000BB);
// Both versions of the request have the same layout: the older one has a byte instead of flags.
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
    if (status != kInvalidParameter && status != kNotSupported)
        return status;
    // File servers do not support a folder handle. A bare name stays in the file's folder.
    request->folder = nullptr;
    return NtSetInformationFile(file, &block, request, static_cast<ULONG>(size), form);
}

bool isKept(NTSTATUS status) {
    const DWORD error = errorOf(status);
    return error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED;
}

// Whether the file is open in another program: a rename over it reports only "access denied".
bool isHeld(HANDLE folder, const std::string &name) {
    Access access;
    access.rights = FILE_READ_DATA;
    access.options = FILE_NON_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT;
    access.share = 0;
    Handle file;
    return errorOf(openAt(folder, name, access, file)) == ERROR_SHARING_VIOLATION;
}

// Sets or clears read-only of a file that is to be replaced. True if that has changed it.
bool setReadOnly(HANDLE folder, const std::string &name, bool readOnly) {
    Access access;
    access.rights = FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES;
    access.options = FILE_NON_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT;
    Handle file;
    FILE_BASIC_INFO basic{};
    return openAt(folder, name, access, file) >= 0 &&
           GetFileInformationByHandleEx(file.get(), FileBasicInfo, &basic, sizeof basic) &&
           ((basic.FileAttributes & FILE_ATTRIBUTE_READONLY) != 0) != readOnly &&
           setOpenedAttributes(file.get(), basic.FileAttributes ^ FILE_ATTRIBUTE_READONLY) >= 0;
}

} // namespace

Status NewFile::commit(const std::string &name, Replace replace, InputFile *replaced,
                       FileInfo *named) {
    Status status;
    const std::wstring wide = wideFromUtf8(name);
    if (wide.empty() || !isComponent(wide))
        status = errorStatus(ERROR_INVALID_NAME, "cannot create", m_folder->pathOf(name));
    else
        status = replace == Replace::Yes ? replaceFile(name, replaced) : takeFreeName(name);
    if (!status.ok()) {
        discard();
        return status;
    }
    if (named != nullptr && !info(*named).ok())
        *named = {};
    m_temporary.clear();
    CloseHandle(handleOf(std::exchange(m_handle, -1)));
    return {};
}

Status NewFile::replaceFile(const std::string &name, InputFile *replaced) {
    HANDLE folder = handleOf(m_folder->m_handle);
    HANDLE file = handleOf(m_handle);
    const std::wstring wide = wideFromUtf8(name);
    const std::string path = m_folder->pathOf(name);
    FileInfo old;
    const bool known = replaced != nullptr && replaced->info(old).ok();
    // The newer version replaces a file that is open. Not every system and disk supports it.
    NTSTATUS status =
        rename(file, folder, wide, kReplaceIfExists | kPosixSemantics | kIgnoreReadOnly, kRenameEx);
    if (status >= 0)
        return {};
    if (replaced != nullptr)
        replaced->close();
    FileInfo there;
    const auto isThere = [&] { return m_folder->info(name, there).ok(); };
    const auto isOld = [&] {
        return isThere() && sameFile(there, old) && there.size == old.size &&
               there.modified == old.modified;
    };
    status = rename(file, folder, wide, kReplaceIfExists, FileRenameInformation);
    if (isKept(status) && isThere() && there.kind == FileInfo::Kind::Folder) {
        const Status failed(Failure::WrongKind, "cannot create " + path + ": a folder", path);
        return replaced != nullptr ? keep(name, failed) : failed;
    }
    const bool madeWritable = isKept(status) && setReadOnly(folder, name, false);
    for (int round = 0; isKept(status) && round < kRenameRounds; ++round) {
        Sleep(round == 0 && madeWritable ? 0 : kRenamePause);
        // During the wait another program may put its own file there.
        if (known && isThere() && !isOld())
            return {Failure::Exists, path + " was replaced by another program", path};
        status = rename(file, folder, wide, kReplaceIfExists, FileRenameInformation);
    }
    if (status >= 0)
        return {};
    if (madeWritable)
        setReadOnly(folder, name, true);
    const Status failed = isKept(status) && isHeld(folder, name)
                              ? Status(Failure::Busy, path + " is in use by another program", path)
                              : errorStatus(errorOf(status), "cannot create", path);
    return replaced != nullptr && !(known && isOld()) ? keep(name, failed) : failed;
}

Status NewFile::takeFreeName(const std::string &name) {
    const NTSTATUS status = rename(handleOf(m_handle), handleOf(m_folder->m_handle),
                                   wideFromUtf8(name), 0, FileRenameInformation);
    if (status < 0)
        return errorStatus(errorOf(status), "cannot create", m_folder->pathOf(name));
    m_temporary = name;
    return {};
}

} // namespace platform
