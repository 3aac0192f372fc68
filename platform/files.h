#pragma once

#include "storage/storage.h"

#include <QString>
#include <QStringList>

#include <string>

// Files and folders by path. Paths are in the program's form: "\" and, on POSIX, "/" are
// separators; repeated separators and trailing blanks are ignored; on POSIX `X:\` refers to the
// Wine prefix's drives, and a component that does not exist is searched case-insensitively. A name
// that starts with a dot is an ordinary file.
namespace platform {

// Whether a character separates the components of a path.
inline bool isSeparator(QChar c) {
    return c == u'\\' || c == u'/';
}

// The path in the system's form, for libraries, processes and Qt. A component that does not exist
// stays as it is.
QString nativePath(const QString &path);

// The same in UTF-8, the form of storage/'s paths. Raises 52 if the path contains a NUL and 68 if
// its drive does not exist.
std::string storagePath(const QString &path);

// The length of a path's root: its drive, or server and share.
qsizetype rootLength(const QString &path);

// The first name that matches a path whose last component may contain wildcards (* and ?), or "".
// Read-only and archive files always match; hidden and system files and folders only if `mask`
// contains their DOS attribute bit. Raises 52, 68 or 76 for a path that cannot be searched.
QString findFirst(const QString &pattern, int mask);

// The stored name of the last component of a path (a file or a folder, also a hidden or system
// one), or "" if there is none. Raises nothing.
QString storedName(const QString &path);

// A file name to which at most `added` bytes are added. If most disks have no room for both, the
// name is cut short and made unique by a hash.
QString fittedName(const QString &name, qsizetype added);

// The names of the files in a folder that match a pattern, without hidden and system ones, sorted
// case-insensitively. Raises 76 if the folder cannot be read.
QStringList listFiles(const QString &folder, const QString &pattern);

// Makes one folder. Raises 70 or 75 if it exists or cannot be made, 76 if the parent is missing.
void makeFolder(const QString &path);

// Removes one empty folder. Raises 70 or 75 if it is not empty or cannot be removed, 76 if it is
// missing.
void removeFolder(const QString &path);

// Copies a file with its time, attributes and mode, replacing the target as a whole; a link is
// written through. A copy that fails leaves the target as it was. Raises 53, 70, 75 or 76.
void copyFile(const QString &source, const QString &target);

// From now on a write beyond the process's file size limit fails, as on a full disk, instead of
// ending the program. To be called once by each program.
void surviveLargeWrites();

// The program's own folder, without a trailing separator except at a root. On POSIX: the
// executable's folder if it is writable and does not belong to the system, else orvel in the user's
// data folder.
QString programFolder();

// Whether other programs can rename and remove a folder while it is watched for changes.
bool canWatchFolders();

// The system's Windows folder without a trailing separator, or "" if there is none or its path is
// longer than `limit` characters. On POSIX: the program's folder that contains the text editor's
// launcher.
QString windowsFolder(int limit);

} // namespace platform
