#include "storage/windows/system.h"

#include <cstddef>
#include <memory>

namespace platform {

namespace {

constexpr ACCESS_MASK kFolder = FILE_LIST_DIRECTORY | FILE_TRAVERSE | FILE_READ_ATTRIBUTES;
constexpr auto kNotADirectory = static_cast<NTSTATUS>(0xC0000103);
constexpr std::size_t kListBuffer = 64U << 10;

FileInfo::Kind kindOf(DWORD attributes, DWORD tag) {
    if (isLink(attributes, tag))
        return FileInfo::Kind::Link;
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? FileInfo::Kind::Folder
                                                        : FileInfo::Kind::File;
}

NTSTATUS deleteAt(HANDLE folder, const std::string &name, ULONG kind) {
    Access access;
    access.rights = DELETE | FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES;
    access.options = kind | FILE_OPEN_REPARSE_POINT;
    Handle item;
    const NTSTATUS status = openAt(folder, name, access, item);
    return status < 0 ? status : deleteOpened(item.get());
}

NTSTATUS openFolderAt(HANDLE folder, const std::string &name, Handle &opened) {
    Access access;
    access.rights = kFolder;
    access.options = FILE_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT;
    Handle candidate;
    const NTSTATUS status = openAt(folder, name, access, candidate);
    if (status < 0)
        return status;
    FileInfo info;
    if (fileInfo(candidate.get(), info) != ERROR_SUCCESS || info.kind != FileInfo::Kind::Folder)
        return kNotADirectory;
    opened = std::move(candidate);
    return status;
}

} // namespace

void Folder::close() {
    if (m_handle != -1)
        CloseHandle(handleOf(std::exchange(m_handle, -1)));
}

// Other programs may rename or delete the open folder.
Status Folder::open(const std::string &path) {
    return open(Location{path, {}});
}

Status Folder::open(const Location &location) {
    close();
    const std::string path = shownPath(location);
    m_path = path;
    const std::wstring whole = longPath(location);
    Handle folder(CreateFileW(whole.c_str(), kFolder | SYNCHRONIZE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!folder.isOpen())
        return errorStatus(GetLastError(), "cannot open the folder", path);
    BY_HANDLE_FILE_INFORMATION known{};
    if (!GetFileInformationByHandle(folder.get(), &known))
        return errorStatus(GetLastError(), "cannot open the folder", path);
    if ((known.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        return errorStatus(ERROR_DIRECTORY, "cannot open the folder", path);
    m_handle = numberOf(folder.release());
    return {};
}

Status Folder::openFolder(const std::string &name, Folder &folder) const {
    Handle opened;
    const NTSTATUS status = openFolderAt(handleOf(m_handle), name, opened);
    if (status < 0)
        return errorStatus(errorOf(status), "cannot open the folder", pathOf(name));
    folder.close();
    folder.m_path = pathOf(name);
    folder.m_handle = numberOf(opened.release());
    return {};
}

Status Folder::makeFolder(const std::string &name) const {
    Access access;
    access.rights = FILE_READ_ATTRIBUTES;
    access.disposition = FILE_CREATE;
    access.options = FILE_DIRECTORY_FILE;
    Handle made;
    const NTSTATUS status = openAt(handleOf(m_handle), name, access, made);
    return status < 0 ? errorStatus(errorOf(status), "cannot make the folder", pathOf(name))
                      : Status();
}

Status Folder::openFile(const std::string &name, InputFile &file, Links links,
                        FileInfo &info) const {
    file.close();
    file.m_path = pathOf(name);
    Handle opened;
    Status status =
        openInputAt(handleOf(m_handle), name, file.m_path, links == Links::Follow, opened, info);
    file.m_handle = numberOf(opened.release());
    return status;
}

Status Folder::info(const std::string &name, FileInfo &info, Links links) const {
    Access access;
    access.rights = FILE_READ_ATTRIBUTES;
    access.options = links == Links::Follow ? 0 : FILE_OPEN_REPARSE_POINT;
    Handle item;
    const NTSTATUS status = openAt(handleOf(m_handle), name, access, item);
    const DWORD error = status < 0 ? errorOf(status) : fileInfo(item.get(), info);
    return error != ERROR_SUCCESS ? errorStatus(error, "cannot examine", pathOf(name)) : Status();
}

std::int64_t Folder::birthTime(const std::string &name) const {
    Access access;
    access.rights = FILE_READ_ATTRIBUTES;
    access.options = FILE_OPEN_REPARSE_POINT;
    Handle item;
    FILE_BASIC_INFO times{};
    const bool known =
        openAt(handleOf(m_handle), name, access, item) >= 0 &&
        GetFileInformationByHandleEx(item.get(), FileBasicInfo, &times, sizeof times) &&
        times.CreationTime.QuadPart != 0 &&
        // Wine gives the time of the last write for both.
        times.CreationTime.QuadPart != times.LastWriteTime.QuadPart;
    return known ? nanoseconds(times.CreationTime) : 0;
}

bool Folder::isRemote() const {
    return isOnServer(handleOf(m_handle));
}

bool Folder::keepsInfo() const {
    return false; // each query opens the file
}

bool Folder::stampsWrites() const {
    return false; // NTFS may set the times when the file is closed
}

Status Folder::freshInfo(const std::string &name, FileInfo &info, Links links) const {
    return this->info(name, info, links);
}

Status Folder::list(std::vector<FolderItem> &items) const {
    std::vector<FileInfo> infos;
    return list(items, infos);
}

Status Folder::list(std::vector<FolderItem> &items, std::vector<FileInfo> &infos) const {
    items.clear();
    infos.clear();
    FileInfo folder;
    if (const DWORD error = fileInfo(handleOf(m_handle), folder))
        return errorStatus(error, "cannot list the folder", m_path);
    // A separate handle, because duplicates share the position in the folder.
    Access access;
    access.rights = FILE_LIST_DIRECTORY;
    access.options = FILE_DIRECTORY_FILE;
    Handle own;
    const NTSTATUS status = openAt(handleOf(m_handle), "", access, own);
    if (status < 0)
        return errorStatus(errorOf(status), "cannot list the folder", m_path);
    const auto buffer = std::make_unique<std::byte[]>(kListBuffer);
    while (GetFileInformationByHandleEx(own.get(), FileIdBothDirectoryInfo, buffer.get(),
                                        kListBuffer)) {
        const std::byte *at = buffer.get();
        while (true) {
            const auto *item = reinterpret_cast<const FILE_ID_BOTH_DIR_INFO *>(at);
            const std::wstring_view name(item->FileName, item->FileNameLength / sizeof(wchar_t));
            // The field for the size of extended attributes holds the reparse tag of a link.
            if (name != L"." && name != L"..") {
                items.push_back({utf8FromWide(name), kindOf(item->FileAttributes, item->EaSize),
                                 dosBits(item->FileAttributes)});
                FileInfo &info = infos.emplace_back();
                info.kind = items.back().kind;
                info.readOnly = (items.back().attributes & kAttributeReadOnly) != 0;
                info.size = static_cast<std::uint64_t>(item->EndOfFile.QuadPart);
                info.modified = nanoseconds(item->LastWriteTime);
                info.changed = changeTime(item->ChangeTime);
                info.device = folder.device;
                info.id = static_cast<std::uint64_t>(item->FileId.QuadPart);
            }
            if (item->NextEntryOffset == 0)
                break;
            at += item->NextEntryOffset;
        }
    }
    const DWORD error = GetLastError();
    return error == ERROR_NO_MORE_FILES || error == ERROR_FILE_NOT_FOUND
               ? Status()
               : errorStatus(error, "cannot list the folder", m_path);
}

Status Folder::removeFile(const std::string &name) const {
    const NTSTATUS status = deleteAt(handleOf(m_handle), name, FILE_NON_DIRECTORY_FILE);
    return status < 0 ? errorStatus(errorOf(status), "cannot delete", pathOf(name)) : Status();
}

Status Folder::removeFolder(const std::string &name) const {
    const NTSTATUS status = deleteAt(handleOf(m_handle), name, FILE_DIRECTORY_FILE);
    return status < 0 ? errorStatus(errorOf(status), "cannot delete the folder", pathOf(name))
                      : Status();
}

// One handle that denies write access to others: a file that is open for writing may still have its
// old times.
Status Folder::removeFileIf(const std::string &name, bool /*fresh*/,
                            const RemoveCheck &mayRemove) const {
    Access access;
    access.rights = DELETE | FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES;
    access.options = FILE_NON_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT;
    access.share = FILE_SHARE_READ | FILE_SHARE_DELETE;
    Handle opened;
    NTSTATUS status = openAt(handleOf(m_handle), name, access, opened);
    if (status < 0)
        return errorStatus(errorOf(status), "cannot delete", pathOf(name));
    FileInfo info;
    const DWORD error = fileInfo(opened.get(), info);
    const bool isLink = info.kind == FileInfo::Kind::Link;
    const Links links = isLink ? Links::Follow : Links::Refuse;
    InputFile file;
    const auto open = [&] { return openSame(name, links, info, file).ok() ? &file : nullptr; };
    if (error != ERROR_SUCCESS || (isLink && !this->info(name, info, links).ok()) ||
        !mayRemove(info, open))
        return {Failure::Busy, pathOf(name) + " is kept", pathOf(name)};
    file.close(); // otherwise the name stays until then
    status = deleteOpened(opened.get());
    return status < 0 ? errorStatus(errorOf(status), "cannot delete", pathOf(name)) : Status();
}

Status Folder::clearAttributes(const std::string &name, FileInfo *cleared) const {
    Access access;
    access.rights = FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES;
    access.options = FILE_NON_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT;
    Handle file;
    FileInfo info;
    NTSTATUS status = openAt(handleOf(m_handle), name, access, file);
    DWORD error = status < 0 ? errorOf(status) : fileInfo(file.get(), info);
    if (error == ERROR_SUCCESS && info.kind != FileInfo::Kind::File)
        return {Failure::WrongKind, pathOf(name) + " is not an ordinary file", pathOf(name)};
    if (error == ERROR_SUCCESS && (status = setOpenedAttributes(file.get(), 0)) < 0)
        error = errorOf(status);
    if (error == ERROR_SUCCESS && cleared != nullptr)
        error = fileInfo(file.get(), *cleared);
    return error != ERROR_SUCCESS
               ? errorStatus(error, "cannot change the attributes of", pathOf(name))
               : Status();
}

std::uint8_t Folder::recordedAttributes(const FolderItem &item) const {
    return item.attributes;
}

Status Folder::freeSpace(std::uint64_t &bytes) const {
    ULARGE_INTEGER free{};
    if (!GetDiskFreeSpaceExW(longPath(m_path).c_str(), &free, nullptr, nullptr))
        return errorStatus(GetLastError(), "cannot examine the disk of", m_path);
    bytes = free.QuadPart;
    return {};
}

Status Folder::sync() const {
    Access access;
    access.rights = FILE_ADD_FILE;
    access.options = FILE_DIRECTORY_FILE;
    Handle folder;
    // Disks that do not support it write names through by themselves.
    if (openAt(handleOf(m_handle), "", access, folder) >= 0)
        FlushFileBuffers(folder.get());
    return {};
}

void Folder::removeStaleTemporaries() const {
    std::vector<FolderItem> items;
    if (!list(items).ok())
        return;
    // Temporaries in use are open without delete sharing.
    for (const FolderItem &item : items)
        if (item.kind == FileInfo::Kind::File && isTemporaryName(item.name))
            (void)removeFile(item.name);
}

} // namespace platform
