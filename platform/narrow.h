#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringList>

#include <optional>

namespace platform {

// Text in the system's narrow code page (UTF-8 on POSIX, the ANSI code page on Windows): the form
// in which it crosses to the companion libraries and the registry.
QByteArray toNarrow(const QString &text);
QString fromNarrow(QByteArrayView bytes);

// The same path in letters that the narrow code page has, where it lacks some and the system knows
// the file by a second name; every other text as it is.
QString narrowPath(const QString &path);

// What the program was started with, behind its own name; nothing where that is no text.
std::optional<QStringList> argumentsOf(int argc, char **argv);

} // namespace platform
