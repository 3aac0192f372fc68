#pragma once

#include <QString>
#include <QStringList>

#include <string>

// Files and folders by path. Paths come in the program's form: "\" and, on POSIX, "/" separate;
// doubled separators and blanks at the end are harmless; on POSIX `X:\` leads through the Wine
// prefix's drives and a component that does not exist as written is looked up without regard to
// case. A name that starts with a dot is an ordinary file.
namespace platform {

// Attribute bits of a file, as DOS numbers them.
enum Attribute : int {
    AttributeNormal = 0,
    AttributeReadOnly = 1,
    AttributeHidden = 2,
    AttributeSystem = 4,
    AttributeDirectory = 16,
    AttributeArchive = 32,
};

// The path as the system itself writes it: what a library, a process or Qt is given. A component
// that does not exist keeps the text that it came with.
QString nativePath(const QString &path);

// The same in UTF-8, the form of storage/'s paths. Raises 52 where the path holds a NUL and 68 where
// it names a drive that there is not.
std::string storagePath(const QString &path);

// How much of a path names no file but where files are: its drive, or the machine and its share.
qsizetype rootLength(const QString &path);

// The first name that matches a path whose last component may hold wildcards (* and ?), or "".
// Read-only and archive files always match; hidden, system and directory entries only where `mask`
// holds their bit. Raises 52, 68 or 76 for a path that cannot be searched.
QString findFirst(const QString &pattern, int mask);

// The name under which the file system stores the last component of a path (a file or a folder,
// hidden and system ones too), or "" where there is none. Raises nothing.
QString storedName(const QString &path);

// The names of the files in a folder that match a pattern, without hidden and system ones, sorted
// by name without regard to case. Raises 76 where the folder cannot be read.
QStringList listFiles(const QString &folder, const QString &pattern);

// Makes one folder. Raises 75 where it exists or may not be made, 76 where the parent is missing.
void makeFolder(const QString &path);

// Removes one empty folder. Raises 75 where it is not empty or may not be removed, 76 where it is
// missing.
void removeFolder(const QString &path);

// Deletes the file, or every file that matches the pattern in the last component; folders, hidden
// and system files never match. Raises 53 where nothing matches, 70 or 75 at the first that cannot
// be deleted.
void deleteFiles(const QString &pattern);

// Attribute bits of a file or folder. Raises 53 where it is missing.
int attributes(const QString &path);

// Sets read-only, hidden, system and archive to exactly `value`. Raises 53 where the file is
// missing, 75 where it may not be changed.
void setAttributes(const QString &path, int value);

// Copies a file with its time, attributes and mode, replacing the target as a whole; a link is
// written through. A copy that fails leaves the target as it was. Raises 53, 70, 75 or 76.
void copyFile(const QString &source, const QString &target);

// From now on a write beyond the size that the system allows for a file fails, as one on a full
// disk does, and does not end the program. For programs, once.
void surviveLargeWrites();

// The program's own folder, without a trailing separator except at a root. On POSIX: the folder of
// the executable where that can be written and is none of the system's, else orvel in the user's
// data folder.
QString programFolder();

// The system's Windows folder without a trailing separator, or "" where there is none or its path
// is longer than `limit` characters. On POSIX: the folder that ships with the program and holds the
// text editor's launcher.
QString windowsFolder(int limit);

} // namespace platform
