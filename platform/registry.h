#pragma once

#include <QByteArray>

#include <cstdint>

// The five registry operations, with the semantics of the ANSI entry points: text is bytes in the
// narrow code page, names compare without regard to case, results are system error codes (0 is
// success, 2 is "not found"). None raises an error. The key path "" under a root is the root.
namespace platform {

inline constexpr std::uint32_t kLocalMachine = 0x80000002U; // HKEY_LOCAL_MACHINE
inline constexpr std::uint32_t kTypeString = 1;             // REG_SZ

// An open key. 0 is no key.
using RegKey = std::uintptr_t;

// Opens an existing key; leaves `key` 0 and returns 2 where there is none.
std::int32_t RegOpenKeyA(std::uint32_t root, const QByteArray &path, RegKey &key);

// Opens the key, making it and every missing key above it.
std::int32_t RegCreateKeyA(std::uint32_t root, const QByteArray &path, RegKey &key);

// Reports a value's type and its size in bytes; where `data` is not null, copies at most `size`
// bytes into it first. `type` may be null. Returns 234 where the buffer is too small (nothing is
// copied, `size` is what is needed). The empty name is the key's default value.
std::int32_t RegQueryValueExA(RegKey key, const QByteArray &name, std::uint32_t *type, char *data,
                              std::uint32_t &size);

// Stores a value, replacing any earlier one. The bytes are stored as given.
std::int32_t RegSetValueExA(RegKey key, const QByteArray &name, std::uint32_t type,
                            const QByteArray &data);

// Releases the handle; harmless on 0.
std::int32_t RegCloseKey(RegKey key);

} // namespace platform
