#include "registry/registry.h"

#include "registry/posix/hiveFile.h"
#include "registry/posix/registryText.h"
#include "storage/posix/environment.h"

#include <QSet>

#include <algorithm>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace platform {

namespace {

using hive::Hive;
using hive::Value;

std::mutex keysMutex;

// The paths of the open keys, by handle.
std::map<RegKey, QString> &openKeys() {
    static std::map<RegKey, QString> keys;
    return keys;
}

RegKey openKey(const QString &path) {
    static RegKey last = 0;
    const std::lock_guard guard(keysMutex);
    openKeys().emplace(++last, path);
    return last;
}

std::optional<QString> pathOf(RegKey key) {
    const std::lock_guard guard(keysMutex);
    const auto found = openKeys().find(key);
    return found == openKeys().end() ? std::nullopt : std::optional(found->second);
}

// A name ends at its first NUL.
QString nameText(const QByteArray &name) {
    return hive::wideText(
        QByteArrayView(name).first(name.contains('\0') ? name.indexOf('\0') : name.size()));
}

// Under Wine a 32-bit program, such as the game's installer, sees this key instead of the named
// one; a prefix without 64-bit programs has no such key.
QString twinPath(const QString &path) {
    const qsizetype first = path.indexOf(u'\\');
    if (first < 0 || path.first(first).compare(u"Software", Qt::CaseInsensitive) != 0)
        return {};
    return QStringLiteral("Software\\Wow6432Node") + path.sliced(first);
}

QByteArray hiveIn(const std::string &folder) {
    return folder.empty() ? QByteArray() : QByteArray::fromStdString(folder + "/system.reg");
}

// The program's own hive. Empty if the user has no home folder.
QByteArray ownHivePath() {
    return hiveIn(userConfigFolder());
}

// Calls `visit` for each location of a key until it returns true: the program's own hive, then the
// Wine prefix, which is read only if necessary.
template<typename Visit>
bool visitLocations(const QString &path, Visit visit) {
    if (visit(*hive::readHive(ownHivePath()), path))
        return true;
    const std::shared_ptr<const Hive> wine = hive::readHive(hiveIn(winePrefix()));
    const QString twin = twinPath(path);
    return (!twin.isEmpty() && visit(*wine, twin)) || visit(*wine, path);
}

bool exists(const QString &path) {
    return visitLocations(
        path, [](const Hive &hive, const QString &location) { return hive.hasKey(location); });
}

// The value in the first location that has it, of any type.
std::optional<Value> findValue(const QString &path, const QString &name) {
    std::optional<Value> value;
    visitLocations(path, [&](const Hive &hive, const QString &location) {
        value = hive.value(location, name);
        return value.has_value();
    });
    return value;
}

std::int32_t change(const std::function<QByteArray(const Hive &, std::int64_t now)> &edit) {
    const QByteArray path = ownHivePath();
    if (path.isEmpty())
        return kRegistryFault;
    return hive::changeHive(path, [&](const Hive &old) { return edit(old, ::time(nullptr)); });
}

} // namespace

std::int32_t RegOpenKeyA(std::uint32_t root, const QByteArray &path, RegKey &key) {
    key = 0;
    const QString wide = hive::keyPath(hive::wideText(path));
    if (root != kLocalMachine || !exists(wide))
        return kNotFound;
    key = openKey(wide);
    return kSuccess;
}

std::int32_t RegCreateKeyA(std::uint32_t root, const QByteArray &path, RegKey &key) {
    if (RegOpenKeyA(root, path, key) == kSuccess)
        return kSuccess;
    if (root != kLocalMachine)
        return kNotFound;
    const QString wide = hive::keyPath(hive::wideText(path));
    const std::int32_t result =
        change([&](const Hive &old, std::int64_t now) { return old.withKey(wide, now); });
    if (result == kSuccess)
        key = openKey(wide);
    return result;
}

std::int32_t RegQueryValueExA(RegKey key, const QByteArray &name, std::uint32_t *type, char *data,
                              std::uint32_t &size) {
    const std::optional<QString> path = pathOf(key);
    if (!path)
        return kInvalidHandle;
    const std::optional<Value> value = findValue(*path, nameText(name));
    if (!value)
        return kNotFound;
    const QByteArray bytes = hive::narrowData(*value);
    const auto needed = static_cast<std::uint32_t>(bytes.size());
    const bool fits = data == nullptr || needed <= size;
    if (data != nullptr && fits)
        std::copy(bytes.begin(), bytes.end(), data);
    if (type != nullptr)
        *type = value->type;
    size = needed;
    return fits ? kSuccess : kMoreData;
}

std::int32_t RegSetValueExA(RegKey key, const QByteArray &name, std::uint32_t type,
                            const QByteArray &data) {
    const std::optional<QString> path = pathOf(key);
    if (!path)
        return kInvalidHandle;
    const QString wide = nameText(name);
    const Value value = hive::valueFromNarrow(type, data);
    // An unchanged value is not written.
    if (hive::readHive(ownHivePath())->value(*path, wide) == value)
        return kSuccess;
    return change(
        [&](const Hive &old, std::int64_t now) { return old.withValue(*path, wide, value, now); });
}

std::int32_t RegValueNames(RegKey key, QByteArrayList &names) {
    names.clear();
    const std::optional<QString> path = pathOf(key);
    if (!path)
        return kInvalidHandle;
    QSet<QString> known;
    visitLocations(*path, [&](const Hive &hive, const QString &location) {
        for (const QString &name : hive.valueNames(location)) {
            const qsizetype before = known.size();
            known.insert(hive::foldCase(name));
            if (known.size() > before)
                names += hive::narrowText(name);
        }
        return false;
    });
    return kSuccess;
}

std::int32_t RegCloseKey(RegKey key) {
    const std::lock_guard guard(keysMutex);
    return openKeys().erase(key) == 1 ? kSuccess : kInvalidHandle;
}

} // namespace platform
