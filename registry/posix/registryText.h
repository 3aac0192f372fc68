#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

// Conversion between the narrow text of the registry functions and the UTF-16 of a hive.
namespace platform::hive {

// Lossless conversion of UTF-8 to UTF-16: a byte of malformed UTF-8 becomes a lone surrogate U+DC80
// to U+DCFF, which narrowText converts back. A byte order mark is ordinary text.
QString wideText(QByteArrayView narrow);

// UTF-16 to UTF-8. Any other lone surrogate becomes U+FFFD.
QByteArray narrowText(QStringView wide);

// The case-folded text for comparing names: simple folding, one character for each, of all scripts.
QString foldCase(QStringView text);

// A key path with single separators, without leading and trailing ones, cut off at a NUL.
QString keyPath(QStringView path);

} // namespace platform::hive
