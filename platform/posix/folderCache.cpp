#include "platform/posix/folderCache.h"

#include "platform/narrow.h"
#include "platform/posix/names.h"
#include "platform/posix/paths.h"

#include <fcntl.h>

#include <algorithm>

namespace platform {

namespace {

// A user may have no more than 64 files open in all.
constexpr std::size_t kKeptOpen = 16;
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

bool isUsableName(QStringView name) {
    return !name.isEmpty() && name != u"." && name != u".." && !name.contains(QChar(u'\0'));
}

} // namespace

std::optional<RelativeName> relativeName(const QString &path) {
    qsizetype cut = path.size();
    while (cut > 0 && !isSeparator(path[cut - 1]))
        --cut;
    const QString name = path.sliced(cut);
    if (!isUsableName(name))
        return {};
    return RelativeName{path.first(std::max<qsizetype>(cut - 1, 0)), toNarrow(name)};
}

QByteArray OpenFolder::otherSpelling(const QByteArray &name) {
    if (!m_spellings) {
        m_spellings.emplace();
        FolderEntries entries(descriptor());
        while (const dirent *entry = entries.isOpen() ? entries.next() : nullptr) {
            QByteArray &kept = (*m_spellings)[nameText(entry->d_name).toCaseFolded()];
            const QByteArray stored(entry->d_name);
            if (kept.isEmpty() || stored < kept)
                kept = stored;
        }
    }
    const QByteArray found = m_spellings->value(nameText(name).toCaseFolded());
    return found.isEmpty()
               ? m_spellings->value(nameText(withoutTrailingBlanks(name)).toCaseFolded())
               : found;
}

FolderCache::FolderCache(const QByteArray &workFolder)
    : m_root({}, Descriptor(::open(workFolder.constData(), kFolderFlags))) {}

OpenFolder *FolderCache::open(const QString &folder) {
    if (m_root.descriptor() < 0)
        return nullptr;
    if (folder.isEmpty())
        return &m_root;
    const auto known = std::find_if(m_used.begin(), m_used.end(),
                                    [&](const OpenFolder &used) { return used.name() == folder; });
    if (known != m_used.end()) {
        m_used.splice(m_used.begin(), m_used, known);
        return &m_used.front();
    }
    Descriptor descriptor = openPath(folder);
    if (!descriptor.isOpen())
        return nullptr;
    m_used.emplace_front(folder, std::move(descriptor));
    if (m_used.size() > kKeptOpen)
        m_used.pop_back();
    return &m_used.front();
}

void FolderCache::close(const QString &folder) {
    if (folder.isEmpty()) {
        m_used.clear();
        m_root = OpenFolder({}, Descriptor());
    } else {
        m_used.remove_if([&](const OpenFolder &used) { return used.name() == folder; });
    }
}

Descriptor FolderCache::openPath(const QString &folder) {
    Descriptor current;
    int parent = m_root.descriptor();
    QString text = folder;
    for (const QString &component : text.replace(u'\\', u'/').split(u'/')) {
        if (component.isEmpty() || component == u".")
            continue;
        if (!isUsableName(component))
            return Descriptor();
        const QByteArray name = toNarrow(component);
        Descriptor next(::openat(parent, name.constData(), kFolderFlags | O_NOFOLLOW));
        if (!next.isOpen()) {
            const QByteArray other = findName(FolderEntries(parent), name);
            if (other.isEmpty() || other == name)
                return Descriptor();
            next = Descriptor(::openat(parent, other.constData(), kFolderFlags | O_NOFOLLOW));
        }
        if (!next.isOpen())
            return Descriptor();
        current = std::move(next);
        parent = current.get();
    }
    // Only separators: the work folder itself, by a handle of its own.
    return current.isOpen() ? std::move(current) : Descriptor(::openat(parent, ".", kFolderFlags));
}

} // namespace platform
