#include "platform/posix/names.h"

namespace platform {

QString nameText(const QByteArray &stored) {
    return QString::fromUtf8(stored);
}

FolderEntries::FolderEntries(const QByteArray &path) : m_stream(::opendir(path.constData())) {}

const dirent *FolderEntries::next() {
    while (const dirent *entry = ::readdir(m_stream.get())) {
        const char *name = entry->d_name;
        if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0')))
            continue;
        return entry;
    }
    return nullptr;
}

QByteArray withoutTrailingBlanks(const QByteArray &name) {
    qsizetype size = name.size();
    while (size > 0 && name[size - 1] == ' ')
        --size;
    return name.first(size);
}

QByteArray findName(FolderEntries entries, const QByteArray &name) {
    const QByteArray trimmed = withoutTrailingBlanks(name);
    const QString text = nameText(name);
    const QString trimmedText = nameText(trimmed);
    const auto rank = [&](const QByteArray &stored) {
        if (stored == name)
            return 0;
        if (stored == trimmed)
            return 1;
        const QString storedText = nameText(stored);
        if (storedText.compare(text, Qt::CaseInsensitive) == 0)
            return 2;
        return storedText.compare(trimmedText, Qt::CaseInsensitive) == 0 ? 3 : 4;
    };
    QByteArray best;
    int bestRank = 4;
    if (!entries.isOpen())
        return best;
    while (const dirent *entry = entries.next()) {
        const QByteArray stored(entry->d_name);
        const int its = rank(stored);
        if (its < bestRank || (its == bestRank && its < 4 && stored < best)) {
            best = stored;
            bestRank = its;
        }
    }
    return best;
}

} // namespace platform
