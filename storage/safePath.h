#pragma once

#include <string_view>

// Which paths are safe below a folder. The rule is the same for extraction and for later access,
// and on all systems, so that an archive gives the same files everywhere.
namespace platform {

// The reason why a UTF-8 path with "/" between its components is unsafe below a folder, or null if
// it is safe: it must be relative, without empty, "." or ".." components, drive, stream, control
// characters, device names, components that end in a dot or a blank, or reserved temporary names,
// and have at most 255 bytes in a component and 3,000 in all. A "/" at the end (a folder) is
// allowed.
const char *unsafeReason(std::string_view path);

// Whether a name opens a device on Windows, with any extension.
bool isDeviceName(std::string_view component);

} // namespace platform
