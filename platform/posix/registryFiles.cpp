#include "platform/posix/registryFiles.h"

#include <pwd.h>
#include <unistd.h>

#include <array>

namespace platform {

namespace {

QByteArray homeFolder() {
    QByteArray home = qgetenv("HOME");
    if (home.startsWith('/'))
        return home;
    struct passwd entry = {};
    struct passwd *found = nullptr;
    std::array<char, 16384> buffer; // NOLINT(*-member-init): the call below fills it
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
        found == nullptr)
        return {};
    return found->pw_dir;
}

// `file` under the folder that a variable names, or under a folder of the user's home. A relative
// path in the variable counts as none.
QByteArray pathUnder(const char *variable, const char *homeSubfolder, const char *file) {
    const QByteArray folder = qgetenv(variable);
    if (folder.startsWith('/'))
        return folder + file;
    const QByteArray home = homeFolder();
    return home.isEmpty() ? QByteArray() : home + homeSubfolder + file;
}

} // namespace

QByteArray ownHivePath() {
    return pathUnder("XDG_CONFIG_HOME", "/.config", "/orvel/system.reg");
}

QByteArray wineHivePath() {
    return pathUnder("WINEPREFIX", "/.wine", "/system.reg");
}

} // namespace platform
