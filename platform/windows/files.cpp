#include "platform/files.h"

#include "platform/namePattern.h"
#include "platform/storedNames.h"
#include "platform/windows/system.h"

#include <algorithm>
#include <functional>

namespace platform {

namespace {

constexpr DWORD kLeftOut = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_DIRECTORY;

bool isMissing(DWORD error) {
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
           error == ERROR_DIRECTORY || error == ERROR_NO_MORE_FILES;
}

bool isFolder(const QString &path) {
    std::uint8_t its = kAttributeNormal;
    return attributesOf(path.toStdString(), its).ok() && (its & kAttributeFolder) != 0;
}

// A folder and the name or pattern to search for in it.
struct Search {
    QString folder; // in the long form
    QString name;
};

Search searchOf(const QString &path) {
    const QString text = nativePath(path);
    const qsizetype cut = std::max(text.lastIndexOf(u'\\'), text.lastIndexOf(u':')) + 1;
    const QString folder = text.first(cut);
    if (path.contains(QChar(u'\0')))
        raise(ErrorNumber::BadFileName, path);
    return {checkedPath(folder.isEmpty() ? QStringLiteral(".") : folder), text.sliced(cut)};
}

QString joined(const QString &folder, const QString &name) {
    return folder.endsWith(u'\\') ? folder + name : folder + u'\\' + name;
}

struct Found {
    QString name;
    DWORD attributes;
};

// Calls `visit` for each result of a search. Returns the system's error.
DWORD eachMatch(const QString &longPattern, const std::function<void(const Found &)> &visit) {
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileExW(wide(longPattern), FindExInfoBasic, &found,
                                           FindExSearchNameMatch, nullptr, 0);
    if (search == INVALID_HANDLE_VALUE)
        return GetLastError();
    do {
        const QString name = QString::fromWCharArray(found.cFileName);
        if (name != QStringLiteral(".") && name != QStringLiteral(".."))
            visit({name, found.dwFileAttributes});
    } while (FindNextFileW(search, &found));
    const DWORD error = GetLastError();
    FindClose(search);
    return error == ERROR_NO_MORE_FILES ? DWORD{ERROR_SUCCESS} : error;
}

// The matching files of a folder without those that have an unwanted attribute, sorted by name. The
// system's own matching would include short names.
QStringList matching(const Search &search, DWORD unwanted, DWORD &error) {
    QStringList names;
    const bool isPattern = NamePattern::isPattern(search.name);
    const NamePattern pattern(search.name);
    const QString wanted = joined(search.folder, isPattern ? QStringLiteral("*") : search.name);
    error = eachMatch(wanted, [&](const Found &found) {
        if ((found.attributes & unwanted) == 0 && (!isPattern || pattern.matches(found.name)))
            names.append(found.name);
    });
    sortNames(names);
    return names;
}

} // namespace

QString findFirst(const QString &pattern, int mask) {
    const Search search = searchOf(pattern);
    // A path that ends in a separator has no name to search for.
    if (search.name.isEmpty() || pattern.trimmed().endsWith(u'\\') ||
        pattern.trimmed().endsWith(u'/'))
        return {};
    DWORD error = ERROR_SUCCESS;
    const QStringList names = matching(search, kLeftOut & ~static_cast<DWORD>(mask), error);
    if (error != ERROR_SUCCESS && !isMissing(error) && isFolder(search.folder))
        raise(error == ERROR_INVALID_NAME ? ErrorNumber::BadFileName : ErrorNumber::PathNotFound,
              pattern);
    return names.value(0);
}

QString storedName(const QString &path) {
    const QString native = nativePath(path);
    if (native.isEmpty() || native.contains(u'*') || native.contains(u'?') ||
        path.contains(QChar(u'\0')))
        return {};
    QString result;
    eachMatch(longPath(native), [&](const Found &found) { result = found.name; });
    return result;
}

QStringList listFiles(const QString &folder, const QString &pattern) {
    const QString path = checkedPath(folder.isEmpty() ? QStringLiteral(".") : folder);
    if (!isFolder(path))
        raise(ErrorNumber::PathNotFound, folder);
    DWORD error = ERROR_SUCCESS;
    const QStringList names = matching({path, pattern}, kLeftOut, error);
    if (error != ERROR_SUCCESS && error != ERROR_FILE_NOT_FOUND && error != ERROR_NO_MORE_FILES)
        raise(ErrorNumber::PathNotFound, folder);
    return names;
}

void surviveLargeWrites() {}

} // namespace platform
