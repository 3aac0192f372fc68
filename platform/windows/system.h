#pragma once

// windows.h as the sources of this folder need it.
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include "platform/error.h"

#include <QString>

namespace platform {

// UTF-16 for the wide entry points.
inline const wchar_t *wide(const QString &text) {
    return reinterpret_cast<const wchar_t *>(text.utf16());
}

// The system's own long form of a path ("\\?\..."), which is not limited to 260 characters.
QString longPath(const QString &path);

// As longPath. Raises 52 where the path holds a NUL and 68 where it names a drive that there is
// not: for steps that must not be taken on another path than was meant.
QString checkedPath(const QString &path);

// The number of the error to raise for what the system says of a file.
ErrorNumber numberFor(DWORD error);

} // namespace platform
