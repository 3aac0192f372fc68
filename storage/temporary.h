#pragma once

#include <string>
#include <string_view>

// Names of files beside those that are written or replaced.
namespace platform {

// A new reserved name, unique across processes; see isTemporaryName().
std::string temporaryName();

// The reserved name of the lock file for `name`. Independent of the case of ASCII letters, and the
// same on every system, because several systems may share a disk.
std::string lockFileName(std::string_view name);

// The name of a new file that is kept because it could not get the name `name`: similar to `name`
// and not reserved. `number` makes it unique.
std::string keptName(const std::string &name, int number);

} // namespace platform
