#include "platform/trash.h"

#include <QFile>

namespace platform {

bool moveToTrash(const QString &file) {
    return QFile::moveToTrash(file);
}

} // namespace platform
