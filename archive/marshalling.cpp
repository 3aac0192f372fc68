#include "archive/marshalling.h"

#include "platform/error.h"
#include "platform/files.h"
#include "platform/narrow.h"

#include <algorithm>
#include <cstring>

namespace crossing {

namespace {
constexpr qsizetype kLongestPassword = 254;
}

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

bool copyPassword(const QString &sPassword, char *buffer, std::int32_t size) {
    if (buffer == nullptr || size < 1)
        return false;
    const QByteArray bytes = platform::toNarrow(sPassword);
    const qsizetype length = std::min({bytes.size(), kLongestPassword, qsizetype{size} - 1});
    std::memcpy(buffer, bytes.constData(), static_cast<std::size_t>(length));
    buffer[length] = '\0';
    return true;
}

void NameTable::put(std::int32_t slot, const QString &sName) {
    if (slot < 0 || static_cast<std::size_t>(slot) >= m_slots.size())
        throw platform::RuntimeError(
            platform::ErrorNumber::SubscriptOutOfRange,
            platform::describe(platform::ErrorNumber::SubscriptOutOfRange));
    QByteArray name = platform::toNarrow(sName);
    // A name with letters that the code page lacks means nothing that the library can find: it must
    // not become a pattern that fits other names.
    if (platform::fromNarrow(name) != sName)
        name.replace('?', '\x1A');
    // The bytes stay where they are when the list of their owners grows.
    m_slots[static_cast<std::size_t>(slot)] = m_names.emplace_back(std::move(name)).data();
}

} // namespace crossing
