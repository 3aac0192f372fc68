#include "platform/files.h"

#include "platform/error.h"
#include "platform/namePattern.h"
#include "platform/narrow.h"
#include "platform/posix/paths.h"
#include "platform/storedNames.h"
#include "storage/pathText.h"

#include <csignal>

#include <vector>

namespace platform {

namespace {

// Whether a directory search with that mask finds this file. A link counts as its target.
bool isGiven(const std::string &path, int mask) {
    constexpr int kMasked = kAttributeHidden | kAttributeSystem | kAttributeFolder;
    std::uint8_t its = kAttributeNormal;
    return attributesOf(path, its).ok() && (its & kMasked & ~mask) == 0;
}

// The sorted names of a folder that match a pattern and that a search with that mask finds.
Status listGiven(const std::string &path, const QString &pattern, int mask, QStringList &names) {
    Folder folder;
    std::vector<FolderItem> items;
    Status status = folder.open(path);
    if (status.ok())
        status = folder.list(items);
    if (!status.ok())
        return status;
    const NamePattern matcher(pattern);
    for (const FolderItem &item : items)
        if (const QString name = fromNarrow(item.name);
            matcher.matches(name) && isGiven(folder.pathOf(item.name), mask))
            names.append(name);
    sortNames(names);
    return status;
}

} // namespace

QString findFirst(const QString &pattern, int mask) {
    const SplitPath parts = splitPath(pattern);
    if (!NamePattern::isPattern(parts.name)) {
        const std::string path = storagePath(pattern);
        const bool isFound = !parts.name.trimmed().isEmpty() && isGiven(path, mask);
        return isFound ? fromNarrow(lastComponent(path)) : QString();
    }
    QStringList names;
    const Status listed = listGiven(parts.folder.isEmpty() ? "." : storagePath(parts.folder),
                                    parts.name, mask, names);
    if (!listed.ok() && !listed.is(Failure::NotFound) && !listed.is(Failure::WrongKind))
        raise(ErrorNumber::PathNotFound, pattern);
    return names.value(0);
}

QString storedName(const QString &path) {
    if (path.contains(QChar(u'\0')))
        return {};
    const QByteArray stored = resolve(path);
    return isStored(stored) ? fromNarrow(lastComponent(stored.toStdString())) : QString();
}

QStringList listFiles(const QString &folder, const QString &pattern) {
    QStringList names;
    if (!listGiven(folder.isEmpty() ? "." : storagePath(folder), pattern, kAttributeNormal, names)
             .ok())
        raise(ErrorNumber::PathNotFound, folder);
    return names;
}

void surviveLargeWrites() {
    std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace platform
