#include "registry/registry.h"

#include "storage/windows/windowsHeader.h"

#include <QSet>

#include <memory>

namespace {

// The view of the machine root for 32-bit programs.
constexpr REGSAM kView = KEY_WOW64_32KEY;

// Where Windows redirects writes of such a program under the machine root.
constexpr char kVirtualStore[] = "Software\\Classes\\VirtualStore\\MACHINE\\";

struct CloseKey {
    using pointer = HKEY;
    void operator()(HKEY key) const { ::RegCloseKey(key); }
};
using Key = std::unique_ptr<HKEY, CloseKey>;

// An open key: the real one, and its copy in the user's virtual store. Either may be missing.
struct OpenKey {
    Key real;
    Key twin;
    std::uint32_t root = 0;
    QByteArray path;
};

// Virtual copies of the 32-bit view use the view's name in the whole registry.
QByteArray twinPath(const QByteArray &path) {
    constexpr char kSoftware[] = "software\\";
    constexpr qsizetype kLength = sizeof kSoftware - 1;
    if (path.toLower().startsWith(kSoftware))
        return QByteArray(kVirtualStore) + path.first(kLength) + "Wow6432Node\\" +
               path.sliced(kLength);
    return QByteArray(kVirtualStore) + path;
}

// The path up to a NUL, without redundant separators.
QByteArray keyPath(const QByteArray &given) {
    QByteArrayList parts;
    for (const QByteArray &part : QByteArray(given.constData()).split('\\'))
        if (!part.isEmpty())
            parts.append(part);
    return parts.join('\\');
}

HKEY rootOf(std::uint32_t root) {
    return reinterpret_cast<HKEY>( // NOLINT(performance-no-int-to-ptr)
        static_cast<LONG_PTR>(static_cast<std::int32_t>(root)));
}

OpenKey *keyOf(platform::RegKey key) {
    return reinterpret_cast<OpenKey *>(key); // NOLINT(performance-no-int-to-ptr)
}

LSTATUS open(HKEY root, const QByteArray &path, REGSAM rights, Key &key) {
    HKEY opened = nullptr;
    const LSTATUS result = ::RegOpenKeyExA(root, path.constData(), 0, rights, &opened);
    key.reset(result == ERROR_SUCCESS ? opened : nullptr);
    return result;
}

LSTATUS create(HKEY root, const QByteArray &path, REGSAM rights, Key &key) {
    HKEY made = nullptr;
    const LSTATUS result =
        ::RegCreateKeyExA(root, path.constData(), 0, nullptr, 0, rights, nullptr, &made, nullptr);
    key.reset(result == ERROR_SUCCESS ? made : nullptr);
    return result;
}

LSTATUS createTwin(OpenKey &key) {
    return key.twin != nullptr
               ? LSTATUS{ERROR_SUCCESS}
               : create(HKEY_CURRENT_USER, twinPath(key.path), KEY_READ | KEY_WRITE, key.twin);
}

// Opens the existing parts of a key, for writing if permitted.
LSTATUS openBoth(OpenKey &key) {
    if (key.root == platform::kLocalMachine)
        open(HKEY_CURRENT_USER, twinPath(key.path), KEY_READ | KEY_WRITE, key.twin);
    LSTATUS result = open(rootOf(key.root), key.path, KEY_READ | KEY_WRITE | kView, key.real);
    if (result == ERROR_ACCESS_DENIED)
        result = open(rootOf(key.root), key.path, KEY_READ | kView, key.real);
    return key.twin != nullptr ? LSTATUS{ERROR_SUCCESS} : result;
}

LSTATUS query(HKEY key, const QByteArray &name, std::uint32_t *type, char *data,
              std::uint32_t &size) {
    DWORD kind = 0;
    DWORD bytes = size;
    const LSTATUS result = ::RegQueryValueExA(key, name.constData(), nullptr, &kind,
                                              reinterpret_cast<BYTE *>(data), &bytes);
    if (result == ERROR_SUCCESS || result == ERROR_MORE_DATA) {
        size = bytes;
        if (type != nullptr)
            *type = kind;
    }
    return result;
}

LSTATUS addNames(HKEY key, QSet<QByteArray> &known, QByteArrayList &names) {
    QByteArray name(16384 * 3, '\0'); // no name is longer, in any code page
    for (DWORD index = 0;; ++index) {
        DWORD size = static_cast<DWORD>(name.size());
        const LSTATUS result =
            ::RegEnumValueA(key, index, name.data(), &size, nullptr, nullptr, nullptr, nullptr);
        if (result == ERROR_NO_MORE_ITEMS)
            return ERROR_SUCCESS;
        if (result != ERROR_SUCCESS)
            return result;
        const QByteArray found = name.first(static_cast<qsizetype>(size));
        QByteArray folded = found;
        CharLowerBuffA(folded.data(), size);
        if (!known.contains(folded)) {
            known.insert(folded);
            names.append(found);
        }
    }
}

} // namespace

namespace platform {

std::int32_t RegOpenKeyA(std::uint32_t root, const QByteArray &path, RegKey &key) {
    key = 0;
    auto opened = std::make_unique<OpenKey>();
    opened->root = root;
    opened->path = keyPath(path);
    if (const LSTATUS result = openBoth(*opened))
        return result;
    key = reinterpret_cast<RegKey>(opened.release());
    return kSuccess;
}

std::int32_t RegCreateKeyA(std::uint32_t root, const QByteArray &path, RegKey &key) {
    if (RegOpenKeyA(root, path, key) == kSuccess)
        return kSuccess;
    auto made = std::make_unique<OpenKey>();
    made->root = root;
    made->path = keyPath(path);
    LSTATUS result = create(rootOf(root), made->path, KEY_READ | KEY_WRITE | kView, made->real);
    if (result == ERROR_ACCESS_DENIED && root == kLocalMachine)
        result = createTwin(*made);
    if (result == ERROR_SUCCESS)
        key = reinterpret_cast<RegKey>(made.release());
    return result;
}

std::int32_t RegQueryValueExA(RegKey key, const QByteArray &name, std::uint32_t *type, char *data,
                              std::uint32_t &size) {
    if (key == 0)
        return kInvalidHandle;
    // The user's own copy has priority, as Windows reads it for such programs.
    LSTATUS result = ERROR_FILE_NOT_FOUND;
    for (HKEY location : {keyOf(key)->twin.get(), keyOf(key)->real.get()})
        if (location != nullptr && result == ERROR_FILE_NOT_FOUND)
            result = query(location, name, type, data, size);
    return result;
}

std::int32_t RegSetValueExA(RegKey key, const QByteArray &name, std::uint32_t type,
                            const QByteArray &data) {
    if (key == 0)
        return kInvalidHandle;
    OpenKey &opened = *keyOf(key);
    const auto set = [&](HKEY location) {
        return ::RegSetValueExA(location, name.constData(), 0, type,
                                reinterpret_cast<const BYTE *>(data.constData()),
                                static_cast<DWORD>(data.size()));
    };
    LSTATUS result = opened.real != nullptr ? set(opened.real.get()) : ERROR_ACCESS_DENIED;
    if (result == ERROR_SUCCESS && opened.twin != nullptr) {
        // A copy in the virtual store would hide the new value.
        ::RegDeleteValueA(opened.twin.get(), name.constData());
    } else if (result == ERROR_ACCESS_DENIED && opened.root == kLocalMachine) {
        result = createTwin(opened);
        if (result == ERROR_SUCCESS)
            result = set(opened.twin.get());
    }
    return result;
}

std::int32_t RegValueNames(RegKey key, QByteArrayList &names) {
    names.clear();
    if (key == 0)
        return kInvalidHandle;
    QSet<QByteArray> known;
    LSTATUS result = ERROR_SUCCESS;
    for (HKEY location : {keyOf(key)->twin.get(), keyOf(key)->real.get()})
        if (location != nullptr && result == ERROR_SUCCESS)
            result = addNames(location, known, names);
    return result;
}

std::int32_t RegCloseKey(RegKey key) {
    if (key == 0)
        return kInvalidHandle;
    delete keyOf(key);
    return kSuccess;
}

} // namespace platform
