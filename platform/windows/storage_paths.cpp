#include "platform/windows/storage_system.h"

#include <bit>

namespace platform {

namespace {

constexpr bool isSeparator(char c) {
    return c == '\\' || c == '/';
}

// Where the name in a path starts.
std::size_t nameStart(const std::string &path) {
    const std::size_t cut = path.find_last_of("\\/:");
    return cut == std::string::npos ? 0 : cut + 1;
}

// A path without links, as the system names it; "" where there is nothing or where the code page
// lacks one of its characters.
std::string finalPath(const std::string &path) {
    const Handle opened(CreateFileW(longPath(path).c_str(), FILE_READ_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!opened.isOpen()) {
        return {};
    }
    const DWORD needed = GetFinalPathNameByHandleW(opened.get(), nullptr, 0, FILE_NAME_NORMALIZED);
    std::wstring whole(needed, L'\0');
    const DWORD size =
        GetFinalPathNameByHandleW(opened.get(), whole.data(), needed, FILE_NAME_NORMALIZED);
    if (size == 0 || size >= needed) {
        return {};
    }
    whole.resize(size);
    constexpr std::wstring_view server = L"\\\\?\\UNC\\";
    if (whole.starts_with(server)) {
        whole = L"\\\\" + whole.substr(server.size());
    } else if (whole.starts_with(L"\\\\?\\")) {
        whole.erase(0, 4);
    }
    bool lossy = false;
    std::string narrow = narrowFromWide(whole, &lossy);
    return lossy ? std::string() : narrow;
}

} // namespace

Status makeFolders(const std::string &path) {
    // Behind the drive or the server's name and what it shares.
    std::size_t at = 0;
    if (path.size() > 1 && path[1] == ':') {
        at = 2;
    } else if (path.size() > 1 && isSeparator(path[0]) && isSeparator(path[1])) {
        at = path.find_first_of("\\/", 2);
        at = at == std::string::npos ? at : path.find_first_of("\\/", at + 1);
    }
    while (at < path.size()) {
        at = path.find_first_of("\\/", at + 1);
        const std::string part = path.substr(0, at);
        if (!part.empty() && !CreateDirectoryW(longPath(part).c_str(), nullptr)) {
            const DWORD error = GetLastError();
            const DWORD kind = GetFileAttributesW(longPath(part).c_str());
            if (kind == INVALID_FILE_ATTRIBUTES || (kind & FILE_ATTRIBUTE_DIRECTORY) == 0) {
                return errorStatus(error, "cannot make the folder", part);
            }
        }
    }
    return {};
}

Status resolvePath(const std::string &path, std::string &folder, std::string &name) {
    // A file that exists tells where it is, behind any link.
    std::string whole = finalPath(path);
    if (whole.empty()) {
        folder = path.substr(0, nameStart(path));
        const std::string above = finalPath(folder.empty() ? "." : folder);
        if (above.empty() &&
            GetFileAttributesW(longPath(folder).c_str()) == INVALID_FILE_ATTRIBUTES) {
            return errorStatus(GetLastError(), "cannot find", path);
        }
        whole = above.empty()               ? path
                : isSeparator(above.back()) ? above + path.substr(nameStart(path))
                                            : above + "\\" + path.substr(nameStart(path));
    }
    const std::size_t cut = nameStart(whole);
    folder = whole.substr(0, cut);
    if (folder.size() > 3 && isSeparator(folder.back())) {
        folder.pop_back();
    }
    name = utf8FromNarrow(whole.substr(cut));
    return {};
}

std::string narrowFromUtf8(std::string_view text) {
    return narrowFromWide(wideFromUtf8(text));
}

std::string utf8FromNarrow(std::string_view text) {
    return utf8FromWide(wideFromNarrow(text));
}

bool linesEndInCrLf() {
    return true;
}

bool namesIgnoreCase() {
    return true;
}

unsigned processorCount() {
    DWORD_PTR ours = 0;
    DWORD_PTR all = 0;
    if (GetProcessAffinityMask(GetCurrentProcess(), &ours, &all) && ours != 0) {
        return static_cast<unsigned>(std::popcount(ours));
    }
    const DWORD count = GetActiveProcessorCount(ALL_PROCESSOR_GROUPS);
    return count > 0 ? count : 1;
}

} // namespace platform
