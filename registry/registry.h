#pragma once

#include <QByteArray>
#include <QByteArrayList>

#include <cstdint>

// The registry operations, with the semantics of the ANSI entry points: text is bytes in the narrow
// code page and ends at a NUL, names compare without regard to case, results are system error
// codes. None raises an error. Key paths have "\" between their parts; the path "" under a root is
// the root. Any thread may call them.
//
// On POSIX the registry is a file in the format of Wine's, orvel/system.reg in the user's settings
// folder. What it lacks is read from the user's Wine prefix, which is never written.
namespace platform {

inline constexpr std::uint32_t kLocalMachine = 0x80000002U; // HKEY_LOCAL_MACHINE
inline constexpr std::uint32_t kTypeString = 1;             // REG_SZ

// The results that callers may want to tell apart.
inline constexpr std::int32_t kSuccess = 0;
inline constexpr std::int32_t kNotFound = 2;       // no such key or value
inline constexpr std::int32_t kAccessDenied = 5;   // may not be written
inline constexpr std::int32_t kInvalidHandle = 6;  // no open key
inline constexpr std::int32_t kLockViolation = 33; // another program is writing, and does not end
inline constexpr std::int32_t kDiskFull = 112;     // nothing was changed
inline constexpr std::int32_t kMoreData = 234;     // the buffer is too small
inline constexpr std::int32_t kBadHive = 1009;     // what is stored is in no form that can be kept
inline constexpr std::int32_t kRegistryFault = 1016; // reading or writing failed otherwise

// An open key. 0 is no key.
using RegKey = std::uintptr_t;

// Opens an existing key; leaves `key` 0 and returns 2 where there is none.
std::int32_t RegOpenKeyA(std::uint32_t root, const QByteArray &path, RegKey &key);

// Opens the key, making it and every missing key above it. Leaves `key` 0 where it may not be made.
std::int32_t RegCreateKeyA(std::uint32_t root, const QByteArray &path, RegKey &key);

// Reports a value's type and its size in bytes; where `data` is not null, copies at most `size`
// bytes into it first. `type` may be null. Returns 234 where the buffer is too small (nothing is
// copied, `size` is what is needed). The empty name is the key's default value.
std::int32_t RegQueryValueExA(RegKey key, const QByteArray &name, std::uint32_t *type, char *data,
                              std::uint32_t &size);

// Stores a value, replacing any earlier one. The bytes are stored as given. Returns an error where
// nothing was stored.
std::int32_t RegSetValueExA(RegKey key, const QByteArray &name, std::uint32_t type,
                            const QByteArray &data);

// The names of a key's values, each once; "" is the default value. Stands for a loop over
// RegEnumValueA.
std::int32_t RegValueNames(RegKey key, QByteArrayList &names);

// Releases the handle; harmless on 0.
std::int32_t RegCloseKey(RegKey key);

} // namespace platform
