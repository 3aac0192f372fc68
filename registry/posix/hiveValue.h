#pragma once

#include "registry/posix/hiveText.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

#include <cstdint>
#include <optional>

// The values in the lines of a hive file.
namespace platform::hive {

// Type codes with a special treatment.
enum ValueType : std::uint32_t {
    TypeText = 1,
    TypeExpandText = 2,
    TypeBinary = 3,
    TypeNumber = 4,
    TypeTextList = 7,
};

// A stored value: the text types are UTF-16, little-endian, every other type is the plain bytes.
struct Value {
    std::uint32_t type = 0;
    QByteArray data;

    bool operator==(const Value &) const = default;
};

// Conversion between a value and the bytes of the narrow registry functions.
Value valueFromNarrow(std::uint32_t type, const QByteArray &data);
QByteArray narrowData(const Value &value);

// A value and its position in the file.
struct ValueLine {
    QString name;               // empty: the key's default value
    std::optional<Value> value; // nothing if the line is damaged
    qsizetype dataBegin = 0;    // start of the part after "="
    qsizetype end = 0;          // end of its last line, without the line end
    qsizetype next = 0;         // start of the line after it
};

// Reads the value that begins at `line`, including continuation lines. A line that cannot be parsed
// is one line without a value.
ValueLine readValue(QByteArrayView text, const Line &line);

// The part after "=" for a value. A text that ends in a NUL is "...", as other programs store it;
// any other text is str:"...", which every reader treats as the same text.
QByteArray writeData(const Value &value, QByteArrayView lineEnd);

// `"name"=` or, for the default value, `@=`.
QByteArray writeName(QStringView name);

} // namespace platform::hive
