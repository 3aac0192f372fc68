#pragma once

#include <QByteArray>
#include <QString>

// Paths in the program's form and the corresponding stored paths.
namespace platform {

// Whether the path starts with a root or a drive.
bool isAbsolutePath(const QString &path);

// The native path as the bytes of the file system.
QByteArray resolve(const QString &path);

// Like resolve, but raises 52 if the path contains a NUL and 68 if its drive does not exist, so
// that no other path is used by mistake.
QByteArray resolveChecked(const QString &path);

// The path of a native absolute path for a Windows program under Wine: on Z: if that is the root,
// as in every new prefix, else on the drive with the longest common path, else in Wine's form for
// files outside of all drives.
QByteArray windowsPath(const QByteArray &path);

// A path split at its last separator, which belongs to the folder.
struct SplitPath {
    QString folder;
    QString name;
};
SplitPath splitPath(const QString &path);

// The path without links and "..", or "" if it does not exist.
QByteArray realPath(const QByteArray &path);

// Whether the path exists; a dangling link does.
bool isStored(const QByteArray &path);

} // namespace platform
