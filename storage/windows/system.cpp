#include "storage/windows/system.h"

#include <algorithm>
#include <climits>

namespace platform {

namespace {

// Errors that are missing in some compilers' headers.
constexpr DWORD kDirectoryNotSupported = 336;
constexpr DWORD kStoppedOnSymlink = 681;
constexpr DWORD kDiskQuotaExceeded = 1295;

// The prefixes of the long form of a path: of a local path, and of one on a server.
constexpr std::wstring_view kLongPrefix = L"\\\\?\\";
constexpr std::wstring_view kServerPrefix = L"\\\\?\\UNC\\";

std::wstring toWide(UINT codePage, std::string_view text) {
    const int size = static_cast<int>(text.size());
    const int needed = MultiByteToWideChar(codePage, 0, text.data(), size, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(needed), L'\0');
    MultiByteToWideChar(codePage, 0, text.data(), size, wide.data(), needed);
    return wide;
}

std::string toBytes(UINT codePage, DWORD flags, std::wstring_view text) {
    const int size = static_cast<int>(text.size());
    const int needed =
        WideCharToMultiByte(codePage, flags, text.data(), size, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(needed), '\0');
    WideCharToMultiByte(codePage, flags, text.data(), size, bytes.data(), needed, nullptr, nullptr);
    return bytes;
}

Failure failureOf(DWORD error) {
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_DELETE_PENDING:
        return Failure::NotFound;
    case ERROR_ALREADY_EXISTS:
    case ERROR_FILE_EXISTS:
    case ERROR_DIR_NOT_EMPTY:
        return Failure::Exists;
    case ERROR_DIRECTORY:
    case kDirectoryNotSupported:
    case ERROR_CANT_RESOLVE_FILENAME:
    case kStoppedOnSymlink:
        return Failure::WrongKind;
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
    case ERROR_PRIVILEGE_NOT_HELD:
        return Failure::Denied;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
    case kDiskQuotaExceeded:
    case ERROR_NOT_ENOUGH_QUOTA:
    case ERROR_FILE_TOO_LARGE:
        return Failure::Full;
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_FILENAME_EXCED_RANGE:
        return Failure::NameTooLong;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_USER_MAPPED_FILE:
    case ERROR_BUSY:
        return Failure::Busy;
    case ERROR_TOO_MANY_OPEN_FILES:
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
    case ERROR_NO_SYSTEM_RESOURCES:
        return Failure::Resources;
    default:
        return Failure::Io;
    }
}

std::string wordsFor(DWORD error) {
    wchar_t text[512];
    // In one line.
    const DWORD size = FormatMessageW(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
        nullptr, error, 0, text, sizeof text / sizeof text[0], nullptr);
    std::wstring_view words(text, size);
    words = words.substr(0, words.find_last_not_of(L"\r\n. ") + 1);
    return words.empty() ? "error " + std::to_string(error) : utf8FromWide(words);
}

} // namespace

bool isComponent(std::wstring_view name) {
    return name != L"." && name != L".." &&
           name.find_first_of(std::wstring_view(L"\\/:\0", 4)) == std::wstring_view::npos;
}

std::wstring wideFromUtf8(std::string_view text) {
    return toWide(CP_UTF8, text);
}

std::string utf8FromWide(std::wstring_view text) {
    return toBytes(CP_UTF8, 0, text);
}

std::string narrowFromUtf8(std::string_view text) {
    // The UTF-8 code page does not support that flag.
    return toBytes(CP_ACP, GetACP() == CP_UTF8 ? 0 : WC_NO_BEST_FIT_CHARS, wideFromUtf8(text));
}

std::string utf8FromNarrow(std::string_view text) {
    return utf8FromWide(toWide(CP_ACP, text));
}

std::wstring longPath(const std::wstring &path) {
    if (path.starts_with(kLongPrefix) || path.starts_with(L"\\\\.\\"))
        return path;
    DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    if (size == 0)
        return path;
    std::wstring whole(size, L'\0');
    size = GetFullPathNameW(path.c_str(), size, whole.data(), nullptr);
    whole.resize(size);
    if (whole.starts_with(L"\\\\"))
        return whole.starts_with(L"\\\\.\\") ? whole : std::wstring(kServerPrefix).append(whole, 2);
    return std::wstring(kLongPrefix) + whole;
}

std::wstring longPath(const std::string &path) {
    return longPath(wideFromUtf8(path.empty() ? std::string_view(".") : path));
}

std::wstring withoutLongPrefix(const std::wstring &path) {
    if (path.starts_with(kServerPrefix))
        return L"\\\\" + path.substr(kServerPrefix.size());
    return path.starts_with(kLongPrefix) ? path.substr(kLongPrefix.size()) : path;
}

std::wstring longPath(const Location &location) {
    std::wstring whole = longPath(location.folder);
    if (location.below.empty())
        return whole;
    if (whole.back() != L'\\')
        whole += L'\\';
    std::wstring below = wideFromUtf8(location.below);
    std::replace(below.begin(), below.end(), L'/', L'\\');
    return whole + below;
}

std::string shownPath(const Location &location) {
    std::string path = location.path();
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
}

Status errorStatus(DWORD error, const char *what, const std::string &path) {
    return {failureOf(error), std::string(what) + " " + path + ": " + wordsFor(error), path};
}

DWORD errorOf(NTSTATUS status) {
    constexpr auto kDeletePending = static_cast<NTSTATUS>(0xC0000056);
    constexpr auto kIsDirectory = static_cast<NTSTATUS>(0xC00000BA);
    // The system translates both to "access denied".
    if (status == kDeletePending)
        return ERROR_DELETE_PENDING;
    return status == kIsDirectory ? kDirectoryNotSupported : RtlNtStatusToDosError(status);
}

NTSTATUS openAt(HANDLE folder, const std::string &name, const Access &access, Handle &opened) {
    constexpr auto kNameInvalid = static_cast<NTSTATUS>(0xC0000033);
    std::wstring wide = wideFromUtf8(name);
    if (!isComponent(wide) || wide.size() > USHRT_MAX / sizeof(wchar_t))
        return kNameInvalid;
    UNICODE_STRING text{};
    text.Buffer = wide.data();
    text.Length = static_cast<USHORT>(wide.size() * sizeof(wchar_t));
    text.MaximumLength = text.Length;
    OBJECT_ATTRIBUTES attributes{};
    InitializeObjectAttributes(&attributes, &text, OBJ_CASE_INSENSITIVE, folder, nullptr);
    IO_STATUS_BLOCK block{};
    HANDLE handle = INVALID_HANDLE_VALUE;
    const NTSTATUS status = NtCreateFile(
        &handle, access.rights | SYNCHRONIZE, &attributes, &block, nullptr, FILE_ATTRIBUTE_NORMAL,
        access.share, access.disposition,
        access.options | FILE_SYNCHRONOUS_IO_NONALERT | FILE_OPEN_FOR_BACKUP_INTENT, nullptr, 0);
    if (status >= 0)
        opened = Handle(handle);
    return status;
}

} // namespace platform
