#pragma once

#include "tests/support/files.h"

#include <QByteArray>
#include <QString>

// The functions of files.h in Qt's types.

inline std::filesystem::path pathOf(const QString &path) {
    return path.toStdU16String();
}
inline QByteArray readFile(const QString &path) {
    return QByteArray::fromStdString(readFile(pathOf(path)));
}
inline void writeFile(const QString &path, const QByteArray &bytes) {
    writeFile(pathOf(path), bytes.toStdString());
}
