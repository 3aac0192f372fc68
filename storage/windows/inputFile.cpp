#include "storage/lockWait.h"
#include "storage/windows/system.h"

#include <algorithm>

namespace platform {

namespace {

constexpr ACCESS_MASK kRead = FILE_READ_DATA | FILE_READ_ATTRIBUTES | READ_CONTROL;
constexpr DWORD kLargestRead = 16U << 20;
// A virus scanner that opens each new file without sharing closes it within this time.
constexpr int kOpenRounds = 25;
constexpr DWORD kOpenPause = 20; // ms

// Repeats a call that opens a file while another program has it open without sharing. `open`
// returns the error.
template<typename Open>
DWORD openShared(Open open) {
    DWORD error = open();
    for (int round = 0; error == ERROR_SHARING_VIOLATION && round < kOpenRounds; ++round) {
        Sleep(kOpenPause);
        error = open();
    }
    return error;
}

Status checkOrdinary(const Handle &file, const std::string &shown, FileInfo &info) {
    if (const DWORD error = fileInfo(file.get(), info))
        return errorStatus(error, "cannot open", shown);
    if (info.kind != FileInfo::Kind::File)
        return {Failure::WrongKind, "cannot open " + shown + ": not an ordinary file", shown};
    return {};
}

} // namespace

Status openInputAt(HANDLE folder, const std::string &name, const std::string &shown,
                   bool followLinks, Handle &file, FileInfo &info) {
    Access access;
    access.rights = kRead;
    access.options = FILE_NON_DIRECTORY_FILE | (followLinks ? 0U : FILE_OPEN_REPARSE_POINT);
    Handle opened;
    const DWORD error = openShared([&] {
        const NTSTATUS status = openAt(folder, name, access, opened);
        return status < 0 ? errorOf(status) : ERROR_SUCCESS;
    });
    if (error != ERROR_SUCCESS)
        return errorStatus(error, "cannot open", shown);
    if (Status checked = checkOrdinary(opened, shown, info); !checked.ok())
        return checked;
    if (!followLinks) {
        // A file that a service provides on demand was opened as its placeholder.
        FILE_ATTRIBUTE_TAG_INFO tag{};
        GetFileInformationByHandleEx(opened.get(), FileAttributeTagInfo, &tag, sizeof tag);
        if ((tag.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
            return openInputAt(folder, name, shown, true, file, info);
    }
    file = std::move(opened);
    return {};
}

Status InputFile::open(const std::string &path, FileInfo &info) {
    return open(Location{path, {}}, info);
}

Status InputFile::open(const Location &location, FileInfo &info) {
    close();
    const std::string path = shownPath(location);
    m_path = path;
    const std::wstring whole = longPath(location);
    const DWORD kind = GetFileAttributesW(whole.c_str());
    if (kind != INVALID_FILE_ATTRIBUTES && (kind & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return {Failure::WrongKind, "cannot open " + path + ": not an ordinary file", path};
    Handle file;
    const DWORD error = openShared([&] {
        file = Handle(CreateFileW(whole.c_str(), kRead,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        return file.isOpen() ? DWORD{ERROR_SUCCESS} : GetLastError();
    });
    if (error != ERROR_SUCCESS)
        return errorStatus(error, "cannot open", path);
    if (Status checked = checkOrdinary(file, path, info); !checked.ok())
        return checked;
    m_handle = numberOf(file.release());
    return {};
}

void InputFile::close() {
    if (m_handle != -1)
        CloseHandle(handleOf(std::exchange(m_handle, -1)));
}

Status InputFile::readAt(std::uint64_t offset, void *data, std::size_t size,
                         std::size_t &got) const {
    got = 0;
    while (got < size && offset + got <= INT64_MAX) {
        OVERLAPPED position{};
        position.Offset = static_cast<DWORD>(offset + got);
        position.OffsetHigh = static_cast<DWORD>((offset + got) >> 32U);
        DWORD count = 0;
        const auto wanted = static_cast<DWORD>(std::min<std::size_t>(size - got, kLargestRead));
        if (!ReadFile(handleOf(m_handle), static_cast<char *>(data) + got, wanted, &count,
                      &position)) {
            const DWORD error = GetLastError();
            return error == ERROR_HANDLE_EOF ? Status() : errorStatus(error, "cannot read", m_path);
        }
        if (count == 0)
            break;
        got += count;
    }
    return {};
}

Status InputFile::info(FileInfo &info) const {
    if (const DWORD error = fileInfo(handleOf(m_handle), info))
        return errorStatus(error, "cannot examine", m_path);
    return {};
}

bool InputFile::isRemote() const {
    return isOnServer(handleOf(m_handle));
}

// No call of the system does that for a file that may be open elsewhere.
bool InputFile::isOpenForWriting(std::uint64_t /*device*/) const {
    // Without the permission for others to write.
    const Handle again(
        ReOpenFile(handleOf(m_handle), FILE_READ_DATA, FILE_SHARE_READ | FILE_SHARE_DELETE, 0));
    return !again.isOpen() && GetLastError() == ERROR_SHARING_VIOLATION;
}

// Who removes a file has it open so that no other program may open it for writing.
bool InputFile::holdOffWriters(std::uint64_t device) {
    return !isOpenForWriting(device);
}

bool InputFile::heldOffWriters() const {
    return true;
}

void InputFile::dropCache() const {}

Status InputFile::attributes(std::uint8_t &attributes) const {
    FILE_BASIC_INFO basic{};
    if (!GetFileInformationByHandleEx(handleOf(m_handle), FileBasicInfo, &basic, sizeof basic))
        return errorStatus(GetLastError(), "cannot examine", m_path);
    attributes = dosBits(basic.FileAttributes);
    return {};
}

Status InputFile::lock(std::chrono::milliseconds wait, const KeepGoing &keepGoing) {
    const LockWait until(wait, keepGoing, m_path);
    // A byte beyond any file: locks prevent access to the range that they cover.
    OVERLAPPED position{};
    position.OffsetHigh = 0x7FFFFFFF;
    while (!LockFileEx(handleOf(m_handle), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0,
                       1, 0, &position)) {
        const DWORD error = GetLastError();
        if (error != ERROR_LOCK_VIOLATION && error != ERROR_IO_PENDING)
            return errorStatus(error, "cannot lock", m_path);
        if (Status waited = until.pause(); !waited.ok())
            return waited;
    }
    return {};
}

} // namespace platform
