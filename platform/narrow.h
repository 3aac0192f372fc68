#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace platform {

// Text in the system's narrow code page (UTF-8 on POSIX, the ANSI code page on Windows): the form
// in which it crosses to the companion libraries and the registry.
QByteArray toNarrow(const QString &text);
QString fromNarrow(QByteArrayView bytes);

} // namespace platform
