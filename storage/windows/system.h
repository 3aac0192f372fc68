#pragma once

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <winternl.h>

#include "storage/storage.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

// What the storage calls share: text, errors, and opening a name inside a folder's handle.
namespace platform {

// A handle of the system that closes itself.
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
// The whole path behind the system's long form ("\\?\"), which has no limit of 260 characters.
std::wstring longPath(const std::string &path);
std::wstring longPath(const Location &place);
// The whole path for messages, all separators alike.
std::string shownPath(const Location &place);

// The status for an error of the system: "<what> <path>: <the system's words>".
Status errorStatus(DWORD error, const char *what, const std::string &path);
// The error of the Win32 calls for one of the native ones.
DWORD errorOf(NTSTATUS status);

// How a name is opened. The rest is the same for all: names of any letter case, links never
// followed, calls that wait for their end.
struct Access {
    ACCESS_MASK rights = 0;
    ULONG disposition = FILE_OPEN;
    ULONG options = 0;
    ULONG share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
};

// Whether a name can only be that of something directly inside a folder: it holds no separator and
// no stream, and is neither "." nor "..".
bool isComponent(std::wstring_view name);
// Opens a name directly inside a folder, whatever path led to the folder; "" is the folder itself.
// Names that would lead elsewhere (a separator, a stream, "..") are refused.
NTSTATUS openAt(HANDLE folder, const std::string &name, const Access &access, Handle &opened);

// Opens a folder directly inside another one; a link is refused.
NTSTATUS openFolderAt(HANDLE folder, const std::string &name, Handle &opened);
// Deletes a file (FILE_NON_DIRECTORY_FILE) or an empty folder (FILE_DIRECTORY_FILE) of a folder.
NTSTATUS deleteAt(HANDLE folder, const std::string &name, ULONG kind);

// Shows everything in an open folder but "." and "..".
using ItemVisitor =
    std::function<void(const std::string &name, DWORD attributes, FileInfo::Kind kind)>;
DWORD listOpened(HANDLE folder, const ItemVisitor &visit);

// What is known of an open file. Fails with the system's error.
DWORD fileInfo(HANDLE file, FileInfo &info);
// The bits of FILE_ATTRIBUTE_* that are told of a file: DOS's own, but not archive.
std::uint8_t dosBits(DWORD attributes);
// Whether it leads somewhere else. Files that a service brings on demand are no links.
bool isLink(DWORD attributes, DWORD tag);

// Opens an ordinary file in a folder to be read.
Status openInputAt(HANDLE folder, const std::string &name, const std::string &shown,
                   bool followLinks, Handle &file, FileInfo &info);
// Reads at a position until `size` bytes are there or the file ends.
DWORD readHandleAt(HANDLE file, std::uint64_t offset, void *data, std::size_t size,
                   std::size_t &got);

// Deletes the file or empty folder that was opened with the right to, a read-only file too.
NTSTATUS deleteOpened(HANDLE file);
// Sets all attributes of an open file; 0 is FILE_ATTRIBUTE_NORMAL.
NTSTATUS setOpenedAttributes(HANDLE file, DWORD attributes);

constexpr std::int64_t kTicksTo1970 = 116'444'736'000'000'000; // in steps of 100 ns

} // namespace platform
