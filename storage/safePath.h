#pragma once

#include <string_view>

// Which paths may lead from a folder to a file below it: one rule for what is extracted and for
// what is opened afterwards, and one for every system, so that an archive gives the same files
// everywhere.
namespace platform {

// Why a UTF-8 path with "/" between its components may not be one below a folder, or null where it
// may: it must be relative, have no empty, "." or ".." component, no drive, stream, control
// character or device name, no component that ends in a dot or a blank, none of the reserved
// temporary names, and at most 255 bytes in a component and 3,000 in all. A "/" at the end (a
// folder) is allowed.
const char *unsafeReason(std::string_view path);

// True for names that open a device on Windows, whatever extension follows.
bool isDeviceName(std::string_view component);

} // namespace platform
