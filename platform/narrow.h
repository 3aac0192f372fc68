#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringList>

#include <optional>

namespace platform {

// Text in the system's narrow code page (UTF-8 on POSIX, the ANSI code page on Windows), the
// encoding of the companion libraries' and the registry's interfaces.
QByteArray toNarrow(const QString &text);
QString fromNarrow(QByteArrayView bytes);

// The path with short names if the narrow code page lacks some of its characters and the system has
// short names; else the path itself.
QString narrowPath(const QString &path);

// The program's arguments without its own name; nothing if they are no valid text.
std::optional<QStringList> argumentsOf(int argc, char **argv);

} // namespace platform
