#include "platform/files.h"

#include "platform/error.h"
#include "platform/namePattern.h"
#include "platform/posix/dosAttributes.h"
#include "platform/posix/names.h"
#include "platform/posix/paths.h"

#include <cerrno>
#include <csignal>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <functional>

namespace platform {

namespace {

constexpr int kHiddenOrSystem = AttributeHidden | AttributeSystem;

// The path of an entry of a folder.
QByteArray joined(const QByteArray &folder, const QByteArray &name) {
    if (folder.isEmpty())
        return name;
    return folder.endsWith('/') ? folder + name : folder + '/' + name;
}

// A folder to search and what to search for in it.
struct Search {
    QByteArray folder; // as the system opens it
    QString name;
};

Search searchOf(const QString &path) {
    const SplitPath parts = splitPath(path);
    return {parts.folder.isEmpty() ? QByteArray(".") : resolveChecked(parts.folder), parts.name};
}

// The names in a folder that match a pattern. Returns 0 or an errno.
int matchingNames(const QByteArray &folder, const QString &pattern, QList<QByteArray> &names) {
    FolderEntries entries(folder);
    if (!entries.isOpen())
        return errno;
    const NamePattern matcher(pattern);
    while (const dirent *entry = entries.next())
        if (matcher.matches(nameText(entry->d_name)))
            names.append(entry->d_name);
    return 0;
}

// Whether a directory search with that mask gives this file. A link counts as what it leads to.
bool isGiven(const QByteArray &path, int mask) {
    struct stat info = {};
    if (::stat(path.constData(), &info) != 0 ||
        (S_ISDIR(info.st_mode) && (mask & AttributeDirectory) == 0))
        return false;
    return (storedBits(path.constData()) & kHiddenOrSystem & ~mask) == 0;
}

QStringList sortedTexts(const QList<QByteArray> &names) {
    QStringList texts;
    for (const QByteArray &name : names)
        texts.append(nameText(name));
    std::sort(texts.begin(), texts.end(), [](const QString &left, const QString &right) {
        const int order = left.compare(right, Qt::CaseInsensitive);
        return order != 0 ? order < 0 : left < right;
    });
    return texts;
}

struct stat statOf(const QByteArray &path, const QString &given) {
    struct stat info = {};
    if (::stat(path.constData(), &info) != 0)
        raise(ErrorNumber::FileNotFound, given);
    return info;
}

} // namespace

QString findFirst(const QString &pattern, int mask) {
    if (!NamePattern::isPattern(splitPath(pattern).name)) {
        const QByteArray path = resolveChecked(pattern);
        const bool isName = !splitPath(pattern).name.trimmed().isEmpty();
        return isName && isGiven(path, mask) ? nameText(path.sliced(path.lastIndexOf('/') + 1))
                                             : QString();
    }
    const Search search = searchOf(pattern);
    QList<QByteArray> names;
    const int failure = matchingNames(search.folder, search.name, names);
    if (failure != 0 && failure != ENOENT && failure != ENOTDIR)
        raise(ErrorNumber::PathNotFound, pattern);
    names.removeIf(
        [&](const QByteArray &name) { return !isGiven(joined(search.folder, name), mask); });
    return sortedTexts(names).value(0);
}

QString storedName(const QString &path) {
    if (path.contains(QChar(u'\0')))
        return {};
    const QByteArray stored = resolve(path);
    return isStored(stored) ? nameText(stored.sliced(stored.lastIndexOf('/') + 1)) : QString();
}

QStringList listFiles(const QString &folder, const QString &pattern) {
    const QByteArray path = folder.isEmpty() ? QByteArray(".") : resolveChecked(folder);
    QList<QByteArray> names;
    if (matchingNames(path, pattern, names) != 0)
        raise(ErrorNumber::PathNotFound, folder);
    names.removeIf(
        [&](const QByteArray &name) { return !isGiven(joined(path, name), AttributeNormal); });
    return sortedTexts(names);
}

void makeFolder(const QString &path) {
    if (::mkdir(resolveChecked(path).constData(), 0777) == 0)
        return;
    const bool noParent = errno == ENOENT || errno == ENOTDIR;
    raise(noParent ? ErrorNumber::PathNotFound : ErrorNumber::PathFileAccess, path);
}

void removeFolder(const QString &path) {
    if (::rmdir(resolveChecked(path).constData()) == 0)
        return;
    const bool missing = errno == ENOENT || errno == ENOTDIR;
    raise(missing ? ErrorNumber::PathNotFound : ErrorNumber::PathFileAccess, path);
}

void deleteFiles(const QString &pattern) {
    const Search search = searchOf(pattern);
    QList<QByteArray> paths;
    if (NamePattern::isPattern(search.name)) {
        matchingNames(search.folder, search.name, paths);
        for (QByteArray &name : paths)
            name = joined(search.folder, name);
    } else if (!search.name.isEmpty()) {
        paths.append(resolveChecked(pattern));
    }
    // A link that leads nowhere can be deleted, though no search gives it.
    paths.removeIf([](const QByteArray &path) {
        struct stat info = {};
        const bool leadsNowhere = ::stat(path.constData(), &info) != 0 && isStored(path);
        return !leadsNowhere && !isGiven(path, AttributeNormal);
    });
    if (paths.isEmpty())
        raise(ErrorNumber::FileNotFound, pattern);
    for (const QByteArray &path : paths) {
        if (::unlink(path.constData()) != 0 && errno != ENOENT)
            raise(errno == EBUSY ? ErrorNumber::PermissionDenied : ErrorNumber::PathFileAccess,
                  nameText(path));
    }
}

int attributes(const QString &path) {
    const QByteArray stored = resolveChecked(path);
    return attributeBits(stored.constData(), statOf(stored, path));
}

void setAttributes(const QString &path, int value) {
    const QByteArray stored = resolveChecked(path);
    if (applyAttributes(stored.constData(), statOf(stored, path), value) != 0)
        raise(ErrorNumber::PathFileAccess, path);
}

void surviveLargeWrites() {
    std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace platform
