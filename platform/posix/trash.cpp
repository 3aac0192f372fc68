#include "platform/trash.h"

#include "storage/storage.h"

#include <QFile>
#include <QStandardPaths>

namespace platform {

bool moveToTrash(const QString &file) {
    // Qt uses the current folder if it cannot make the user's trash, whose parent may be missing.
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return !data.isEmpty() &&
           makeFolders((data + "/Trash").toStdString(), Permissions::Private).ok() &&
           QFile::moveToTrash(file);
}

} // namespace platform
