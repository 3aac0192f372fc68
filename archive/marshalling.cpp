#include "archive/marshalling.h"

#include "platform/error.h"
#include "platform/files.h"
#include "platform/narrow.h"

#include <cstring>

namespace marshalling {

QByteArray path(const QString &sPath) {
    if (trimBlanks(sPath).isEmpty())
        return platform::toNarrow(sPath);
    return platform::toNarrow(platform::narrowPath(platform::nativePath(sPath)));
}

QString text(const char *bytes, std::size_t limit) {
    if (bytes == nullptr)
        return {};
    const auto *nul = static_cast<const char *>(std::memchr(bytes, 0, limit));
    const auto length = nul == nullptr ? static_cast<qsizetype>(limit) : nul - bytes;
    return platform::fromNarrow(QByteArrayView(bytes, length));
}

QString trimBlanks(const QString &sText) {
    qsizetype first = 0;
    qsizetype last = sText.size();
    while (first < last && sText.at(first) == u' ')
        ++first;
    while (last > first && sText.at(last - 1) == u' ')
        --last;
    return sText.mid(first, last - first);
}

qsizetype SlashesToBackslashes(QString &sText) {
    const qsizetype last = sText.lastIndexOf(u'/');
    if (last < 0)
        return 1;
    sText.replace(u'/', u'\\');
    return last + 2;
}

void NameTable::put(std::int32_t slot, const QString &sName) {
    if (slot < 0 || static_cast<std::size_t>(slot) >= m_slots.size())
        platform::raise(platform::ErrorNumber::SubscriptOutOfRange);
    QByteArray name = platform::toNarrow(sName);
    // Letters that the code page lacks become "?", a wildcard that could match other names. The
    // substitute character matches none.
    if (platform::fromNarrow(name) != sName)
        name.replace('?', '\x1A');
    // A QByteArray's data does not move when the vector grows.
    m_slots[static_cast<std::size_t>(slot)] = m_names.emplace_back(std::move(name)).data();
}

} // namespace marshalling
