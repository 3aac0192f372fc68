#include "platform/trash.h"

#include "storage/storage.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>

namespace platform {

namespace {

// Qt writes the path as it is, but a reader decodes it, and a line end would end it.
void encodePath(const QString &inTrash) {
    const QFileInfo trashed(inTrash);
    const QString info = trashed.dir().filePath("../info/" + trashed.fileName() + ".trashinfo");
    QFile file(info);
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QByteArray text = file.readAll();
    file.close();
    constexpr QByteArrayView kPath = "\nPath=";
    const qsizetype start = text.indexOf(kPath) + kPath.size();
    const qsizetype end = text.lastIndexOf("\nDeletionDate=");
    const auto needsCode = [](char c) { return c == '%' || (c >= 0 && c < ' ') || c == '\x7F'; };
    if (start < kPath.size() || end < start ||
        std::none_of(text.begin() + start, text.begin() + end, needsCode))
        return;
    QSaveFile encoded(info);
    if (!encoded.open(QIODevice::WriteOnly))
        return;
    encoded.write(text.first(start) + text.sliced(start, end - start).toPercentEncoding("/") +
                  text.sliced(end));
    encoded.commit();
}

} // namespace

bool moveToTrash(const QString &file) {
    // Qt uses the current folder if it cannot make the user's trash, whose parent may be missing.
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    QString inTrash;
    if (data.isEmpty() ||
        !makeFolders((data + "/Trash").toStdString(), Permissions::Private).ok() ||
        !QFile::moveToTrash(file, &inTrash))
        return false;
    encodePath(inTrash);
    return true;
}

} // namespace platform
