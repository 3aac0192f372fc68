#pragma once

#include "platform/error.h"
#include "storage/windows/windowsHeader.h"

#include <QString>

namespace platform {

// UTF-16 for the wide entry points.
inline const wchar_t *wide(const QString &text) {
    return reinterpret_cast<const wchar_t *>(text.utf16());
}

// The long form of a path ("\\?\..."), which is not limited to 260 characters.
QString longPath(const QString &path);

// Like longPath, but raises 52 if the path contains a NUL and 68 if its drive does not exist, so
// that no other path is used by mistake.
QString checkedPath(const QString &path);

} // namespace platform
