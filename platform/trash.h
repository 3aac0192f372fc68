#pragma once

#include <string>

namespace platform {

// NoTrash: the system or the file's disk has none. Failed: there is one, but it did not take the
// file. In both cases the file stays.
enum class Trashing { Moved, NoTrash, Failed };

// Moves a file to the desktop's trash, with the information that restores it. `file` is a path in
// the system's form, in UTF-8 or, on POSIX, any bytes.
Trashing moveToTrash(const std::string &file);

} // namespace platform
