#include "storage/posix/environment.h"

#include <climits>
#include <cstdlib>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <memory>

namespace platform {

namespace {

// A relative path is ignored: it would refer to another folder in each program.
std::string absolutePathIn(const char *variable) {
    const char *value = std::getenv(variable);
    return value != nullptr && *value == '/' ? value : std::string();
}

// The folder that a variable names, else one in the user's home; "" if there is neither.
std::string folderFrom(const char *variable, const char *inHome) {
    std::string folder = absolutePathIn(variable);
    if (!folder.empty())
        return folder;
    folder = homeFolder();
    return folder.empty() ? folder : folder + inHome;
}

} // namespace

std::string homeFolder() {
    std::string home = absolutePathIn("HOME");
    if (!home.empty())
        return home;
    struct passwd entry = {};
    struct passwd *found = nullptr;
    std::array<char, 16384> buffer; // NOLINT(*-member-init): the call below fills it
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
        found == nullptr)
        return {};
    return found->pw_dir;
}

std::string winePrefix() {
    return folderFrom("WINEPREFIX", "/.wine");
}

std::string userConfigFolder() {
    const std::string folder = folderFrom("XDG_CONFIG_HOME", "/.config");
    return folder.empty() ? folder : folder + "/orvel";
}

std::string userDataFolder() {
    return folderFrom("XDG_DATA_HOME", "/.local/share") + "/orvel";
}

std::string executableFolder() {
    std::array<char, PATH_MAX> buffer; // NOLINT(*-member-init): the call below fills it
    const ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
    const std::string path(buffer.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos || slash == 0 ? "/" : path.substr(0, slash);
}

bool isSystemFolder(const std::string &folder) {
    constexpr std::array<std::string_view, 6> kTops{"/usr/", "/bin/",   "/sbin/",
                                                    "/lib/", "/lib64/", "/opt/"};
    const std::string path = folder + '/';
    return std::any_of(kTops.begin(), kTops.end(),
                       [&](std::string_view top) { return path.compare(0, top.size(), top) == 0; });
}

bool isExecutableFile(const std::string &path) {
    struct stat info = {};
    return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
           ::access(path.c_str(), X_OK) == 0;
}

std::string findInPath(const std::string &name) {
    if (name.empty() || name.find('/') != std::string::npos)
        return {};
    const char *variable = std::getenv("PATH");
    std::string_view path = variable != nullptr ? variable : "/usr/bin:/bin";
    while (!path.empty()) {
        const std::string_view folder = path.substr(0, path.find(':'));
        path.remove_prefix(std::min(path.size(), folder.size() + 1));
        // An empty or relative entry refers to the current folder, from which no program is
        // started.
        if (folder.empty() || folder.front() != '/')
            continue;
        std::string candidate = std::string(folder) + '/' + name;
        if (isExecutableFile(candidate))
            return candidate;
    }
    return {};
}

} // namespace platform
