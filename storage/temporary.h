#pragma once

#include <string>
#include <string_view>

// Names of files that stand beside those that are written or replaced.
namespace platform {

// A new reserved name, one that isTemporaryName() knows. Differs from all that any process makes.
std::string temporaryName();

// The reserved name of the file that claims `name` in a folder. The same for a name in any case of
// its ASCII letters, and on every system, for those that share a disk of another machine.
std::string claimName(std::string_view name);

// The name under which a new file is kept that could not take the name `name`: one that a person
// finds beside it, and that is never reserved. `number` tells several apart.
std::string keptName(const std::string &name, int number);

} // namespace platform
