#include "platform/posix/names.h"

#include <fcntl.h>
#include <unistd.h>

#include <vector>

namespace platform {

QString nameText(const QByteArray &stored) {
    return QString::fromUtf8(stored);
}

NamePattern::NamePattern(const QString &pattern)
    : m_pattern(pattern.toCaseFolded()), m_matchesAll(pattern == u"*" || pattern == u"*.*") {}

bool NamePattern::isPattern(const QString &name) {
    return name.contains(u'*') || name.contains(u'?');
}

bool NamePattern::matches(const QByteArray &stored) const {
    if (m_matchesAll)
        return true;
    const QString name = nameText(stored).toCaseFolded();
    if (m_pattern.endsWith(u'.') && name.contains(u'.'))
        return false;
    // reached[i]: the pattern so far matches the first i characters. One row for each pattern
    // character keeps the cost at their product, whatever the pattern.
    const auto size = static_cast<std::size_t>(name.size());
    std::vector<bool> reached(size + 1);
    reached[0] = true;
    for (qsizetype p = 0; p < m_pattern.size(); ++p) {
        const QChar wanted = m_pattern[p];
        std::vector<bool> next(size + 1);
        for (std::size_t i = 0; i <= size; ++i) {
            const bool atEnd = i == size;
            const QChar given = atEnd ? QChar() : name[static_cast<qsizetype>(i)];
            if (wanted == u'*') {
                next[i] = reached[i] || (i > 0 && next[i - 1]);
                continue;
            }
            if (!reached[i])
                continue;
            if (!atEnd && (wanted == u'?' || wanted == given))
                next[i + 1] = true;
            // A dot before wildcards, or at the end of the pattern, need not be in the name.
            const bool optionalDot =
                wanted == u'.' &&
                (p + 1 == m_pattern.size() || m_pattern[p + 1] == u'*' || m_pattern[p + 1] == u'?');
            if ((wanted == u'?' && (atEnd || given == u'.')) || (optionalDot && atEnd))
                next[i] = true;
        }
        reached = std::move(next);
    }
    return reached[size];
}

FolderEntries::FolderEntries(const QByteArray &path) : m_stream(::opendir(path.constData())) {}

FolderEntries::FolderEntries(int folder) {
    // Its own open file: the position in the folder is not shared with other readers.
    const int own = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (own < 0)
        return;
    m_stream.reset(::fdopendir(own));
    if (!m_stream)
        ::close(own);
}

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
