#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

#include <cstdint>
#include <optional>

// The lines of a hive file: text with escapes, and values.
namespace platform::hive {

// Type codes that are treated in a way of their own.
enum ValueType : std::uint32_t {
    TypeText = 1,
    TypeExpandText = 2,
    TypeBinary = 3,
    TypeNumber = 4,
    TypeTextList = 7,
};

// A value as the registry keeps it: the text types are UTF-16, lower byte first, every other type
// is the bytes that were stored.
struct Value {
    std::uint32_t type = 0;
    QByteArray data;

    bool operator==(const Value &) const = default;
};

// A value from and to the bytes that the narrow registry operations speak of.
Value valueFromNarrow(std::uint32_t type, const QByteArray &data);
QByteArray narrowData(const Value &value);

// One line of a text: [begin, end) without its line end; `next` is where the next one begins.
struct Line {
    qsizetype begin = 0;
    qsizetype end = 0;
    qsizetype next = 0;
};
Line lineAt(QByteArrayView text, qsizetype begin);

// The first character of a line that is no blank, or 0.
char firstCharacter(QByteArrayView text, const Line &line);

// Reads text with escapes from `at` up to the closing character, and moves `at` behind that.
// Nothing where the closing character is missing. Bytes beyond ASCII, which only people write, are
// UTF-8 where they can be, else Latin-1.
std::optional<QString> readEscaped(QByteArrayView text, qsizetype &at, char close);

// The way back: `special` characters and the backslash are escaped, as is all that is not ASCII.
QByteArray escaped(QStringView text, QByteArrayView special);

// A value's place in the file, and what it says.
struct ValueLine {
    QString name;               // empty: the key's default value
    std::optional<Value> value; // nothing where the line is damaged
    qsizetype dataBegin = 0;    // where the part behind "=" begins
    qsizetype end = 0;          // end of its last line, without the line end
    qsizetype next = 0;         // where the line after it begins
};

// Reads the value that begins at `line`, with the lines that continue it. A line that cannot be
// understood takes up one line and has no value.
ValueLine readValue(QByteArrayView text, const Line &line);

// What follows "=" for a value. A text that ends in a NUL is "...", as other programs store it; one
// that does not is str:"...", which every reader takes for the same text.
QByteArray writeData(const Value &value, QByteArrayView lineEnd);

// `"name"=` or, for the default value, `@=`.
QByteArray writeName(QStringView name);

} // namespace platform::hive
