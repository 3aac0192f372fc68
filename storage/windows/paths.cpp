#include "storage/pathText.h"
#include "storage/windows/system.h"

#include <bit>

namespace platform {

namespace {

// The index of the file name in a path.
std::size_t nameStart(const std::string &path) {
    const std::size_t cut = path.find_last_of("\\/:");
    return cut == std::string::npos ? 0 : cut + 1;
}

// The path without links; "" if it does not exist.
std::wstring finalPath(const std::string &path) {
    const Handle opened(CreateFileW(longPath(path).c_str(), FILE_READ_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!opened.isOpen())
        return {};
    const DWORD needed = GetFinalPathNameByHandleW(opened.get(), nullptr, 0, FILE_NAME_NORMALIZED);
    std::wstring whole(needed, L'\0');
    const DWORD size =
        GetFinalPathNameByHandleW(opened.get(), whole.data(), needed, FILE_NAME_NORMALIZED);
    if (size == 0 || size >= needed)
        return {};
    whole.resize(size);
    return withoutLongPrefix(whole);
}

// The stored name of a file, in place of a short name.
std::wstring storedName(const std::string &path) {
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW(longPath(path).c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return wideFromUtf8(path.substr(nameStart(path)));
    FindClose(search);
    return found.cFileName;
}

} // namespace

char pathSeparator() {
    return '\\';
}

bool isPathSeparator(char c) {
    return c == '\\' || c == '/';
}

Status makeFolders(const std::string &path, Permissions /*permissions*/) {
    // Skips the drive, or server and share.
    std::size_t at = 0;
    if (path.size() > 1 && path[1] == ':') {
        at = 2;
    } else if (path.size() > 1 && isPathSeparator(path[0]) && isPathSeparator(path[1])) {
        at = path.find_first_of("\\/", 2);
        at = at == std::string::npos ? at : path.find_first_of("\\/", at + 1);
    }
    while (at < path.size()) {
        at = path.find_first_of("\\/", at + 1);
        const std::string part = path.substr(0, at);
        if (part.empty())
            continue;
        if (Status made = makeOneFolder(part); !made.ok()) {
            std::uint8_t there = kAttributeNormal;
            if (!attributesOf(part, there).ok() || (there & kAttributeFolder) == 0)
                return made;
        }
    }
    return {};
}

Status makeOneFolder(const std::string &path) {
    if (!CreateDirectoryW(longPath(path).c_str(), nullptr))
        return errorStatus(GetLastError(), "cannot make the folder", path);
    return {};
}

Status removeOneFolder(const std::string &path) {
    if (!RemoveDirectoryW(longPath(path).c_str()))
        return errorStatus(GetLastError(), "cannot delete the folder", path);
    return {};
}

Status attributesOf(const std::string &path, std::uint8_t &attributes) {
    const DWORD found = GetFileAttributesW(longPath(path).c_str());
    if (found == INVALID_FILE_ATTRIBUTES)
        return errorStatus(GetLastError(), "cannot examine", path);
    attributes = dosBits(found) |
                 ((found & FILE_ATTRIBUTE_DIRECTORY) != 0 ? kAttributeFolder : kAttributeNormal);
    return {};
}

Status resolvePath(const std::string &path, std::string &folder, std::string &name) {
    folder = path.substr(0, nameStart(path));
    std::wstring real;
    // An existing file is resolved by its handle.
    if (const std::wstring whole = finalPath(path); !whole.empty()) {
        const std::size_t cut = whole.find_last_of(L"\\:") + 1;
        name = utf8FromWide(whole.substr(cut));
        real = whole.substr(0, cut);
    } else {
        name = utf8FromWide(storedName(path));
        real = finalPath(folder.empty() ? "." : folder);
        if (real.empty() && GetFileAttributesW(longPath(folder).c_str()) == INVALID_FILE_ATTRIBUTES)
            return errorStatus(GetLastError(), "cannot find", path);
    }
    if (!real.empty())
        folder = utf8FromWide(real);
    if (folder.size() > 3 && isPathSeparator(folder.back()))
        folder.pop_back();
    return {};
}

bool linesEndInCrLf() {
    return true;
}

bool namesIgnoreCase() {
    return true;
}

std::int64_t systemStart() {
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    LARGE_INTEGER time{};
    time.LowPart = now.dwLowDateTime;
    time.HighPart = static_cast<LONG>(now.dwHighDateTime);
    return nanoseconds(time) - static_cast<std::int64_t>(GetTickCount64()) * 1'000'000;
}

unsigned processorCount() {
    DWORD_PTR ours = 0;
    DWORD_PTR all = 0;
    if (GetProcessAffinityMask(GetCurrentProcess(), &ours, &all) && ours != 0)
        return static_cast<unsigned>(std::popcount(ours));
    const DWORD count = GetActiveProcessorCount(ALL_PROCESSOR_GROUPS);
    return count > 0 ? count : 1;
}

} // namespace platform
