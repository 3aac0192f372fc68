#include "config/modRegistry.h"

#include "platform/narrow.h"
#include "registry/registry.h"

#include <optional>

namespace {

// The bytes of a value whose size was `size` when queried. Another program may have changed it
// since: a longer value is read again, a shorter one is truncated to its new size, and a deleted
// one yields nothing.
std::optional<QByteArray> readData(platform::RegKey key, const QByteArray &name,
                                   std::uint32_t size) {
    QByteArray data;
    std::int32_t result = platform::kMoreData;
    while (result == platform::kMoreData) {
        data = QByteArray(static_cast<qsizetype>(size), ' ');
        result = platform::RegQueryValueExA(key, name, nullptr, data.data(), size);
    }
    if (result != platform::kSuccess)
        return std::nullopt;
    data.truncate(static_cast<qsizetype>(size));
    return data;
}

} // namespace

QString RegGetString(std::uint32_t lRoot, const QString &sKey, const QString &sValueName,
                     const QString &sDefault) {
    const QByteArray name = platform::toNarrow(sValueName);
    QString result = sDefault;
    platform::RegKey key = 0;
    platform::RegOpenKeyA(lRoot, platform::toNarrow(sKey), key);
    std::uint32_t type = 0;
    std::uint32_t size = 0;
    if (platform::RegQueryValueExA(key, name, &type, nullptr, size) == platform::kSuccess &&
        type == platform::kTypeString) {
        if (const std::optional<QByteArray> data = readData(key, name, size)) {
            const qsizetype end = data->indexOf('\0');
            result = platform::fromNarrow(end < 0 ? *data : data->first(end));
        }
    }
    platform::RegCloseKey(key);
    return result;
}

void RegSetString(std::uint32_t lRoot, const QString &sKey, const QString &sValueName,
                  const QString &sText) {
    platform::RegKey key = 0;
    platform::RegCreateKeyA(lRoot, platform::toNarrow(sKey), key);
    platform::RegSetValueExA(key, platform::toNarrow(sValueName), platform::kTypeString,
                             platform::toNarrow(platform::narrowPath(sText)));
    platform::RegCloseKey(key);
}
