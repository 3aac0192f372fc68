#include "platform/files.h"
#include "platform/narrow.h"
#include "platform/windows/system.h"

namespace platform {

QString programFolder() {
    QString path(32768, QChar(0));
    const DWORD size = GetModuleFileNameW(nullptr, reinterpret_cast<wchar_t *>(path.data()),
                                          static_cast<DWORD>(path.size()));
    path.truncate(static_cast<qsizetype>(size));
    const qsizetype cut = path.lastIndexOf(u'\\');
    // The root of a drive keeps its separator.
    return cut < 0 ? path : path.first(cut == 2 ? 3 : cut);
}

bool canWatchFolders() {
    return false;
}

QString windowsFolder(int limit) {
    if (limit <= 0)
        return {};
    QByteArray buffer(limit, '\0');
    const UINT size = GetWindowsDirectoryA(buffer.data(), static_cast<UINT>(limit));
    if (size == 0 || size >= static_cast<UINT>(limit))
        return {};
    QString folder = fromNarrow(buffer.first(static_cast<qsizetype>(size)));
    if (folder.endsWith(u'\\'))
        folder.chop(1);
    return folder;
}

} // namespace platform
