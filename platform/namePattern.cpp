#include "platform/namePattern.h"

#include <vector>

namespace platform {

NamePattern::NamePattern(const QString &pattern)
    : m_pattern(pattern.toCaseFolded()), m_matchesAll(pattern == u"*" || pattern == u"*.*") {}

bool NamePattern::isPattern(const QString &name) {
    return name.contains(u'*') || name.contains(u'?');
}

bool NamePattern::matches(const QString &given) const {
    if (m_matchesAll)
        return true;
    const QString name = given.toCaseFolded();
    if (m_pattern.endsWith(u'.') && name.contains(u'.'))
        return false;
    // reached[i]: the pattern so far matches the first i characters. One row for each pattern
    // character limits the cost to the product of both lengths.
    const auto size = static_cast<std::size_t>(name.size());
    std::vector<bool> reached(size + 1);
    reached[0] = true;
    for (qsizetype p = 0; p < m_pattern.size(); ++p) {
        const QChar wanted = m_pattern[p];
        std::vector<bool> next(size + 1);
        for (std::size_t i = 0; i <= size; ++i) {
            const bool atEnd = i == size;
            const QChar character = atEnd ? QChar() : name[static_cast<qsizetype>(i)];
            if (wanted == u'*') {
                next[i] = reached[i] || (i > 0 && next[i - 1]);
                continue;
            }
            if (!reached[i])
                continue;
            if (!atEnd && (wanted == u'?' || wanted == character))
                next[i + 1] = true;
            // A dot before wildcards, or at the end of the pattern, is optional in the name.
            const bool optionalDot =
                wanted == u'.' &&
                (p + 1 == m_pattern.size() || m_pattern[p + 1] == u'*' || m_pattern[p + 1] == u'?');
            if ((wanted == u'?' && (atEnd || character == u'.')) || (optionalDot && atEnd))
                next[i] = true;
        }
        reached = std::move(next);
    }
    return reached[size];
}

} // namespace platform
