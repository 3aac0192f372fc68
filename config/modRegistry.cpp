#include "config/modRegistry.h"

#include "platform/narrow.h"
#include "platform/registry.h"

QString RegGetString(std::uint32_t lRoot, const QString &sKey, const QString &sValueName,
                     const QString &sDefault) {
    const QByteArray name = platform::toNarrow(sValueName);
    QString result = sDefault;
    platform::RegKey key = 0;
    platform::RegOpenKeyA(lRoot, platform::toNarrow(sKey), key);
    std::uint32_t type = 0;
    std::uint32_t size = 0;
    if (platform::RegQueryValueExA(key, name, &type, nullptr, size) == 0 &&
        type == platform::kTypeString) {
        QByteArray data(static_cast<qsizetype>(size), ' ');
        platform::RegQueryValueExA(key, name, nullptr, data.data(), size);
        const qsizetype end = data.indexOf('\0');
        result = platform::fromNarrow(end < 0 ? data : data.first(end));
    }
    platform::RegCloseKey(key);
    return result;
}

void RegSetString(std::uint32_t lRoot, const QString &sKey, const QString &sValueName,
                  const QString &sText) {
    platform::RegKey key = 0;
    platform::RegCreateKeyA(lRoot, platform::toNarrow(sKey), key);
    platform::RegSetValueExA(key, platform::toNarrow(sValueName), platform::kTypeString,
                             platform::toNarrow(sText));
    platform::RegCloseKey(key);
}
