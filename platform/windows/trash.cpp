#include "platform/trash.h"

#include <QFile>
#include <QString>

namespace platform {

Trashing moveToTrash(const std::string &file) {
    return QFile::moveToTrash(QString::fromStdString(file)) ? Trashing::Moved : Trashing::NoTrash;
}

} // namespace platform
