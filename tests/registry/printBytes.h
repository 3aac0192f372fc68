#pragma once

#include <QByteArray>
#include <QString>

#include <ostream>

// Found by GoogleTest, which would else print a list of numbers.
inline void PrintTo(const QByteArray &bytes, std::ostream *out) {
    *out << '"' << bytes.toStdString() << '"';
}

inline void PrintTo(const QString &text, std::ostream *out) {
    *out << '"' << text.toStdString() << '"';
}
