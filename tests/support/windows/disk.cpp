#include "tests/support/disk.h"

#include <string>

#include <windows.h>

#include <psapi.h>

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t kTicksTo1970 = 116'444'736'000'000'000; // in steps of 100 ns

} // namespace

fs::path makeScratchFolder() {
    static int count = 0;
    fs::path folder;
    do {
        folder =
            fs::temp_directory_path() /
            ("orvel-test-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++count));
    } while (!fs::create_directory(folder));
    return folder;
}

void removeTree(const fs::path &folder) {
    std::error_code ignored;
    for (const auto &item : fs::recursive_directory_iterator(folder, ignored))
        if (!item.is_directory(ignored))
            SetFileAttributesW(item.path().c_str(), FILE_ATTRIBUTE_NORMAL);
    fs::remove_all(folder, ignored);
}

bool makeLink(const fs::path &target, const fs::path &link) {
    const DWORD kind = fs::is_directory(target) ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0;
    // Some systems say yes and make none. A folder of that name may still wait for its deletion.
    const bool made = CreateSymbolicLinkW(link.c_str(), target.c_str(), kind) != 0;
    const DWORD its = GetFileAttributesW(link.c_str());
    return made && its != INVALID_FILE_ATTRIBUTES && (its & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

std::int64_t fileTime(const fs::path &file) {
    WIN32_FILE_ATTRIBUTE_DATA known{};
    if (!GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &known))
        return -1;
    const FILETIME &time = known.ftLastWriteTime;
    return ((std::int64_t{time.dwHighDateTime} << 32) + time.dwLowDateTime - kTicksTo1970) * 100;
}

void setFileTime(const fs::path &file, std::int64_t seconds) {
    const std::int64_t ticks = seconds * 10'000'000 + kTicksTo1970;
    const FILETIME time = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    const HANDLE opened = CreateFileW(file.c_str(), FILE_WRITE_ATTRIBUTES,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    SetFileTime(opened, nullptr, &time, &time);
    CloseHandle(opened);
}

int dosAttributes(const fs::path &file) {
    constexpr DWORD kAsked =
        FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
    return static_cast<int>(GetFileAttributesW(file.c_str()) & kAsked);
}

bool setDosAttributes(const fs::path &file, int attributes) {
    return SetFileAttributesW(file.c_str(), attributes == 0 ? DWORD{FILE_ATTRIBUTE_NORMAL}
                                                            : static_cast<DWORD>(attributes));
}

std::size_t openHandles() {
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return count;
}

std::uint64_t peakMemory() {
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return counters.PeakWorkingSetSize;
}
