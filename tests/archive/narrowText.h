#pragma once

#include "platform/files.h"
#include "platform/narrow.h"

#include <string>

// Text and paths in the form in which they cross to the libraries, on whatever system this is.
inline std::string narrowText(const QString &text) {
    return platform::toNarrow(text).toStdString();
}
inline std::string narrowPath(const QString &path) {
    return narrowText(platform::nativePath(path));
}
