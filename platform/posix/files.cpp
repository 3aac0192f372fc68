#include "platform/files.h"

#include "platform/error.h"
#include "platform/namePattern.h"
#include "platform/narrow.h"
#include "platform/posix/paths.h"
#include "storage/storage.h"

#include <csignal>

#include <algorithm>
#include <vector>

namespace platform {

namespace {

// The path of a folder's entry.
QByteArray joined(const QByteArray &folder, const QByteArray &name) {
    if (folder.isEmpty())
        return name;
    return folder.endsWith('/') ? folder + name : folder + '/' + name;
}

// A folder and the name or pattern to search for in it.
struct Search {
    QByteArray folder; // as the system opens it
    QString name;
};

Search searchOf(const QString &path) {
    const SplitPath parts = splitPath(path);
    return {parts.folder.isEmpty() ? QByteArray(".") : resolveChecked(parts.folder), parts.name};
}

// The names in a folder that match a pattern.
Status matchingNames(const QByteArray &path, const QString &pattern, QList<QByteArray> &names) {
    Folder folder;
    std::vector<FolderItem> items;
    Status status = folder.open(path.toStdString());
    if (status.ok())
        status = folder.list(items);
    const NamePattern matcher(pattern);
    for (const FolderItem &item : items)
        if (status.ok() && matcher.matches(fromNarrow(item.name)))
            names.append(QByteArray::fromStdString(item.name));
    return status;
}

// Whether a directory search with that mask finds this file. A link counts as its target.
bool isGiven(const QByteArray &path, int mask) {
    constexpr int kMasked = kAttributeHidden | kAttributeSystem | kAttributeFolder;
    std::uint8_t its = kAttributeNormal;
    return attributesOf(path.toStdString(), its).ok() && (its & kMasked & ~mask) == 0;
}

QStringList sortedTexts(const QList<QByteArray> &names) {
    QStringList texts;
    for (const QByteArray &name : names)
        texts.append(fromNarrow(name));
    std::sort(texts.begin(), texts.end(), [](const QString &left, const QString &right) {
        const int order = left.compare(right, Qt::CaseInsensitive);
        return order != 0 ? order < 0 : left < right;
    });
    return texts;
}

} // namespace

QString findFirst(const QString &pattern, int mask) {
    if (!NamePattern::isPattern(splitPath(pattern).name)) {
        const QByteArray path = resolveChecked(pattern);
        const bool isName = !splitPath(pattern).name.trimmed().isEmpty();
        return isName && isGiven(path, mask) ? fromNarrow(path.sliced(path.lastIndexOf('/') + 1))
                                             : QString();
    }
    const Search search = searchOf(pattern);
    QList<QByteArray> names;
    const Status listed = matchingNames(search.folder, search.name, names);
    if (!listed.ok() && !listed.is(Failure::NotFound) && !listed.is(Failure::WrongKind))
        raise(ErrorNumber::PathNotFound, pattern);
    names.removeIf(
        [&](const QByteArray &name) { return !isGiven(joined(search.folder, name), mask); });
    return sortedTexts(names).value(0);
}

QString storedName(const QString &path) {
    if (path.contains(QChar(u'\0')))
        return {};
    const QByteArray stored = resolve(path);
    return isStored(stored) ? fromNarrow(stored.sliced(stored.lastIndexOf('/') + 1)) : QString();
}

QStringList listFiles(const QString &folder, const QString &pattern) {
    const QByteArray path = folder.isEmpty() ? QByteArray(".") : resolveChecked(folder);
    QList<QByteArray> names;
    if (!matchingNames(path, pattern, names).ok())
        raise(ErrorNumber::PathNotFound, folder);
    names.removeIf(
        [&](const QByteArray &name) { return !isGiven(joined(path, name), kAttributeNormal); });
    return sortedTexts(names);
}

void surviveLargeWrites() {
    std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace platform
