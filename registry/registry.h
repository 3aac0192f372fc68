#pragma once

#include <QByteArray>
#include <QByteArrayList>

#include <cstdint>

// The registry operations, with the semantics of the ANSI functions: text is bytes in the narrow
// code page and ends at a NUL, names are case-insensitive, results are system error codes. None
// raises an error. Key paths have "\" between their parts; the path "" under a root is the root.
// All are thread-safe. On POSIX the registry is a file in Wine's format, orvel/system.reg in the
// user's settings folder. Missing keys and values are read from the user's Wine prefix, which is
// never written.
namespace platform {

inline constexpr std::uint32_t kLocalMachine = 0x80000002U; // HKEY_LOCAL_MACHINE
inline constexpr std::uint32_t kTypeString = 1;             // REG_SZ

// Results.
inline constexpr std::int32_t kSuccess = 0;
inline constexpr std::int32_t kNotFound = 2;         // no such key or value
inline constexpr std::int32_t kAccessDenied = 5;     // no write permission
inline constexpr std::int32_t kInvalidHandle = 6;    // no open key
inline constexpr std::int32_t kLockViolation = 33;   // another program keeps the registry locked
inline constexpr std::int32_t kDiskFull = 112;       // nothing was changed
inline constexpr std::int32_t kMoreData = 234;       // the buffer is too small
inline constexpr std::int32_t kBadHive = 1009;       // the file's encoding is not supported
inline constexpr std::int32_t kRegistryFault = 1016; // any other error

// An open key. 0 is no key.
using RegKey = std::uintptr_t;

// Opens an existing key. If there is none, sets `key` to 0 and returns 2.
std::int32_t RegOpenKeyA(std::uint32_t root, const QByteArray &path, RegKey &key);

// Opens the key, creating it and every missing parent. Sets `key` to 0 if it cannot be created.
std::int32_t RegCreateKeyA(std::uint32_t root, const QByteArray &path, RegKey &key);

// Returns a value's type and its size in bytes; if `data` is not null, copies at most `size` bytes
// into it first. `type` may be null. Returns 234 if the buffer is too small (nothing is copied,
// `size` is the required size). The empty name is the key's default value.
std::int32_t RegQueryValueExA(RegKey key, const QByteArray &name, std::uint32_t *type, char *data,
                              std::uint32_t &size);

// Stores a value, replacing an existing one. The bytes are stored unchanged. Returns an error if
// nothing was stored.
std::int32_t RegSetValueExA(RegKey key, const QByteArray &name, std::uint32_t type,
                            const QByteArray &data);

// The names of a key's values, each once; "" is the default value. Replaces a loop over
// RegEnumValueA.
std::int32_t RegValueNames(RegKey key, QByteArrayList &names);

// Releases the handle; harmless on 0.
std::int32_t RegCloseKey(RegKey key);

} // namespace platform
