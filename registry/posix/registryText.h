#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

// Text on its way between the narrow form that the registry operations take and the UTF-16 that a
// hive holds.
namespace platform::hive {

// UTF-8 to UTF-16 without a loss: a byte that is no part of well-formed UTF-8 becomes the lone
// surrogate U+DC80 to U+DCFF, which narrowText turns back. A byte order mark is text like any
// other.
QString wideText(QByteArrayView narrow);

// UTF-16 to UTF-8, the way back. Any other lone surrogate has no narrow form and becomes U+FFFD.
QByteArray narrowText(QStringView wide);

// The text in which names are compared: simple case folding, a character for a character.
QString foldCase(QStringView text);

// A key path with single separators and none at its ends, cut off at a NUL as C text is.
QString keyPath(QStringView path);

} // namespace platform::hive
