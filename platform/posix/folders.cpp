#include "platform/files.h"
#include "platform/narrow.h"
#include "platform/posix/paths.h"
#include "storage/posix/environment.h"
#include "storage/storage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

// The mode counts too: root may write everywhere, but a folder without write permission bits is
// protected on purpose.
bool canBeWritten(const QByteArray &folder) {
    struct stat info = {};
    return ::stat(folder.constData(), &info) == 0 &&
           (info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0 &&
           ::faccessat(AT_FDCWD, folder.constData(), W_OK | X_OK, AT_EACCESS) == 0;
}

} // namespace

QString programFolder() {
    auto folder = QByteArray::fromStdString(executableFolder());
    if (isSystemFolder(folder.toStdString()) || !canBeWritten(folder)) {
        folder = QByteArray::fromStdString(userDataFolder());
        // The program creates one folder level at a time, and requires this one to exist.
        static_cast<void>(makeFolders(folder.toStdString(), Permissions::Private));
    }
    return fromNarrow(folder);
}

bool canWatchFolders() {
    return true;
}

QString windowsFolder(int limit) {
    const auto executable = QByteArray::fromStdString(executableFolder());
    for (const char *location : {"/windows", "/" ORVEL_DATA_FROM_BIN "/windows"}) {
        const QByteArray folder = executable + location;
        if (!isExecutableFile((folder + "/NOTEPAD.EXE").toStdString()))
            continue;
        QString path = fromNarrow(realPath(folder));
        return path.size() > limit ? QString() : path;
    }
    return {};
}

} // namespace platform
