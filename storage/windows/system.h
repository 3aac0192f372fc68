#pragma once

#include "storage/storage.h"
#include "storage/windows/windowsHeader.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include <winternl.h>

// Helpers: text, errors, and access to names in a folder's handle.
namespace platform {

// Owns a system handle.
class Handle {
  public:
    Handle() = default;
    explicit Handle(HANDLE handle) : m_handle(handle) {}
    Handle(Handle &&other) noexcept : m_handle(other.release()) {}
    Handle &operator=(Handle &&other) noexcept {
        if (this != &other) {
            close();
            m_handle = other.release();
        }
        return *this;
    }
    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;
    ~Handle() { close(); }

    HANDLE get() const { return m_handle; }
    bool isOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    HANDLE release() { return std::exchange(m_handle, INVALID_HANDLE_VALUE); }
    void close() {
        if (isOpen())
            CloseHandle(release());
    }

  private:
    HANDLE m_handle = INVALID_HANDLE_VALUE;
};

inline HANDLE handleOf(std::intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle); // NOLINT(performance-no-int-to-ptr)
}
inline std::intptr_t numberOf(HANDLE handle) {
    return reinterpret_cast<std::intptr_t>(handle);
}

std::wstring wideFromUtf8(std::string_view text);
std::string utf8FromWide(std::wstring_view text);
// The absolute path in the long form ("\\?\"), which has no limit of 260 characters.
std::wstring longPath(const std::wstring &path);
std::wstring longPath(const std::string &path);
std::wstring longPath(const Location &location);
// The usual form of a path in the long form.
std::wstring withoutLongPrefix(const std::wstring &path);
// The path for messages, with uniform separators.
std::string shownPath(const Location &location);

// The status for an error of the system: "<what> <path>: <the system's words>".
Status errorStatus(DWORD error, const char *what, const std::string &path);
// Converts a native status to a Win32 error.
DWORD errorOf(NTSTATUS status);

// How a name is opened. In all cases case is ignored, links are not followed and calls are
// synchronous.
struct Access {
    ACCESS_MASK rights = 0;
    ULONG disposition = FILE_OPEN;
    ULONG options = 0;
    ULONG share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
};

// Whether a name is a single component: it has no separator and no stream, and is neither "." nor
// "..".
bool isComponent(std::wstring_view name);
// Opens a name in a folder; "" is the folder itself. Fails for anything but a single component.
NTSTATUS openAt(HANDLE folder, const std::string &name, const Access &access, Handle &opened);

// A system time as nanoseconds since 1970.
std::int64_t nanoseconds(const LARGE_INTEGER &time);
// The same for FileInfo::changed. On a disk without change times nothing proves that a file is
// unchanged.
std::int64_t changeTime(const LARGE_INTEGER &time);
// The information on an open file. Returns a Win32 error.
DWORD fileInfo(HANDLE file, FileInfo &info);
// Whether a file or folder is on a file server.
bool isOnServer(HANDLE file);
// The DOS attributes in FILE_ATTRIBUTE_* bits, without archive.
std::uint8_t dosBits(DWORD attributes);
// Whether a reparse point is a link. Files that a service provides on demand are not.
bool isLink(DWORD attributes, DWORD tag);

// Opens an ordinary file of a folder for reading.
Status openInputAt(HANDLE folder, const std::string &name, const std::string &shown,
                   bool followLinks, Handle &file, FileInfo &info);
// Deletes a file or empty folder that was opened with DELETE access, even if it is read-only.
NTSTATUS deleteOpened(HANDLE file);
// Sets all attributes of an open file; 0 is FILE_ATTRIBUTE_NORMAL.
NTSTATUS setOpenedAttributes(HANDLE file, DWORD attributes);

constexpr std::int64_t kTicksTo1970 = 116'444'736'000'000'000; // in steps of 100 ns

} // namespace platform
