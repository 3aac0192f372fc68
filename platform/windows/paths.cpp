#include "platform/files.h"
#include "platform/windows/system.h"
#include "storage/windows/system.h"

namespace platform {

namespace {

bool isDrive(const QString &path) {
    return path.size() >= 2 && path[1] == u':' && path[0].unicode() < 0x80 && path[0].isLetter();
}

} // namespace

QString nativePath(const QString &path) {
    QString text = path;
    text.replace(u'/', u'\\');
    // Repeated separators count as one, except the two before a server's name.
    const bool server = text.startsWith(QStringLiteral("\\\\"));
    QString result;
    result.reserve(text.size());
    for (const QChar c : text) {
        const bool doubled =
            c == u'\\' && result.endsWith(u'\\') && !(server && result.size() == 1);
        if (!doubled)
            result += c;
    }
    while (result.endsWith(u' '))
        result.chop(1);
    // A folder has no trailing separator, except the root of a drive.
    if (result.size() > 1 && result.endsWith(u'\\') && !(isDrive(result) && result.size() == 3))
        result.chop(1);
    return result;
}

qsizetype rootLength(const QString &path) {
    const QString text = QString(path).replace(u'/', u'\\');
    if (!text.startsWith(QStringLiteral("\\\\")))
        return isDrive(text) ? 2 : 0;
    const qsizetype share = text.indexOf(u'\\', 2);
    const qsizetype end = share < 0 ? share : text.indexOf(u'\\', share + 1);
    return end < 0 ? text.size() : end;
}

QString longPath(const QString &path) {
    return QString::fromStdWString(longPath(nativePath(path).toStdWString()));
}

QString checkedPath(const QString &path) {
    if (path.contains(QChar(u'\0')))
        raise(ErrorNumber::BadFileName, path);
    const QString text = nativePath(path);
    if (isDrive(text)) {
        const QString root = text.first(2) + u'\\';
        if (GetDriveTypeW(wide(root)) == DRIVE_NO_ROOT_DIR)
            raise(ErrorNumber::DeviceUnavailable, path);
    }
    return longPath(text);
}

std::string storagePath(const QString &path) {
    return checkedPath(path).toStdString();
}

} // namespace platform
