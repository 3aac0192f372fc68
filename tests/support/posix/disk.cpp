#include "tests/support/disk.h"

#include <array>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace fs = std::filesystem;

namespace {

constexpr char kRecord[] = "user.DOSATTRIB";

} // namespace

fs::path makeScratchFolder() {
    std::string name = fs::temp_directory_path() / "orvel-test-XXXXXX";
    return ::mkdtemp(name.data());
}

void removeTree(const fs::path &folder) {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

bool makeLink(const fs::path &target, const fs::path &link) {
    std::error_code failed;
    fs::create_symlink(target, link, failed);
    return !failed;
}

std::int64_t fileTime(const fs::path &file) {
    struct stat st {};
    return ::lstat(file.c_str(), &st) == 0 ? st.st_mtim.tv_sec * 1'000'000'000 + st.st_mtim.tv_nsec
                                           : -1;
}

void setFileTime(const fs::path &file, std::int64_t seconds) {
    const std::array<timespec, 2> times{timespec{seconds, 0}, timespec{seconds, 0}};
    ::utimensat(AT_FDCWD, file.c_str(), times.data(), 0);
}

int dosAttributes(const fs::path &file) {
    std::array<char, 16> text{};
    int attributes = 0;
    if (::getxattr(file.c_str(), kRecord, text.data(), text.size() - 1) > 0)
        attributes = static_cast<int>(std::strtol(text.data(), nullptr, 16)) & 6;
    struct stat st {};
    const bool writable = ::stat(file.c_str(), &st) == 0 && (st.st_mode & 0222U) != 0;
    return attributes | (writable ? 0 : 1);
}

bool setDosAttributes(const fs::path &file, int attributes) {
    std::array<char, 16> text{};
    const int size = std::snprintf(text.data(), text.size(), "0x%x", attributes);
    return ::setxattr(file.c_str(), kRecord, text.data(), static_cast<std::size_t>(size), 0) == 0 &&
           ::chmod(file.c_str(), (attributes & 1) != 0 ? 0444 : 0644) == 0;
}

std::size_t openHandles() {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

std::uint64_t peakMemory() {
    struct rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
}
