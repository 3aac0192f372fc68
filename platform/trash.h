#pragma once

#include <QString>

namespace platform {

// Moves a file, by its path in the system's form, to the desktop's trash, with the information that
// restores it. False if the system or the file's disk has none: the file stays.
bool moveToTrash(const QString &file);

} // namespace platform
