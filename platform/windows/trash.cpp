#include "platform/trash.h"

#include "storage/windows/system.h"

#include <QFile>
#include <QString>

namespace platform {

Trashing moveToTrash(const std::string &file) {
    if (QFile::moveToTrash(QString::fromStdString(file)))
        return Trashing::Moved;
    // It does not tell the reason. A file that another program has open may go as soon as that
    // closes it.
    constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const Handle opened(CreateFileW(longPath(file).c_str(), DELETE, kAll, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    const bool isHeld = !opened.isOpen() && GetLastError() == ERROR_SHARING_VIOLATION;
    return isHeld ? Trashing::Failed : Trashing::NoTrash;
}

} // namespace platform
