#include "platform/posix/environment.h"

#include <QList>

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

// A relative path in such a variable counts as none: it would mean another folder in each program.
QByteArray absolutePathIn(const char *variable) {
    const QByteArray value = qgetenv(variable);
    return value.startsWith('/') ? value : QByteArray();
}

// The folder that a variable names, else one in the user's home; "" where there is neither.
QByteArray folderFrom(const char *variable, const char *inHome) {
    QByteArray folder = absolutePathIn(variable);
    if (!folder.isEmpty())
        return folder;
    folder = homeFolder();
    return folder.isEmpty() ? folder : folder + inHome;
}

} // namespace

QByteArray homeFolder() {
    QByteArray home = absolutePathIn("HOME");
    if (!home.isEmpty())
        return home;
    struct passwd entry = {};
    struct passwd *found = nullptr;
    std::array<char, 16384> buffer; // NOLINT(*-member-init): the call below fills it
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
        found == nullptr)
        return {};
    return found->pw_dir;
}

QByteArray winePrefix() {
    return folderFrom("WINEPREFIX", "/.wine");
}

QByteArray userConfigFolder() {
    const QByteArray folder = folderFrom("XDG_CONFIG_HOME", "/.config");
    return folder.isEmpty() ? folder : folder + "/orvel";
}

QByteArray userDataFolder() {
    return folderFrom("XDG_DATA_HOME", "/.local/share") + "/orvel";
}

QByteArray executableFolder() {
    std::array<char, PATH_MAX> buffer; // NOLINT(*-member-init): the call below fills it
    const ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
    const QByteArray path(buffer.data(), length > 0 ? length : 0);
    const qsizetype slash = path.lastIndexOf('/');
    return slash > 0 ? path.first(slash) : QByteArray("/");
}

bool isSystemFolder(const QByteArray &folder) {
    const QByteArrayList tops{"/usr/", "/bin/", "/sbin/", "/lib/", "/lib64/", "/opt/"};
    return std::any_of(tops.begin(), tops.end(), [path = folder + '/'](const QByteArray &top) {
        return path.startsWith(top);
    });
}

bool isExecutableFile(const QByteArray &path) {
    struct stat info = {};
    return ::stat(path.constData(), &info) == 0 && S_ISREG(info.st_mode) &&
           ::access(path.constData(), X_OK) == 0;
}

QByteArray findInPath(const QByteArray &name) {
    if (name.isEmpty() || name.contains('/'))
        return {};
    const QByteArray path = qEnvironmentVariableIsSet("PATH") ? qgetenv("PATH") : "/usr/bin:/bin";
    for (const QByteArray &folder : path.split(':')) {
        // An empty or relative entry means the current folder, which is no place for programs.
        if (!folder.startsWith('/'))
            continue;
        QByteArray candidate = folder + '/' + name;
        if (isExecutableFile(candidate))
            return candidate;
    }
    return {};
}

} // namespace platform
