#pragma once

#include <QByteArray>
#include <QString>

// Paths in the program's form and the stored paths that they lead to.
namespace platform {

inline bool isSeparator(QChar c) {
    return c == u'\\' || c == u'/';
}

// Whether the path starts at a root or a drive.
bool isAbsolutePath(const QString &path);

// What nativePath gives, as the bytes that the file system stores.
QByteArray resolve(const QString &path);

// As resolve. Raises 52 where the path holds a NUL and 68 where it names a drive that there is not:
// for steps that must not be taken on another path than was meant.
QByteArray resolveChecked(const QString &path);

// The path by which a Windows program under Wine finds a native absolute path: on Z: where that
// leads there, as in every new prefix, else on the drive that comes nearest, else in the form with
// which Wine reaches what is on no drive.
QByteArray windowsPath(const QByteArray &path);

// A path before and after its last separator: the folder keeps the separator.
struct SplitPath {
    QString folder;
    QString name;
};
SplitPath splitPath(const QString &path);

// The path without links and ".." in it, or "" where it leads nowhere.
QByteArray realPath(const QByteArray &path);

// Whether something is stored under that path, a link that leads nowhere included.
bool isStored(const QByteArray &path);

} // namespace platform
