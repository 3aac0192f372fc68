#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

#include <cstdint>
#include <optional>

// The lines of a hive file: text with escapes, and values.
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

// One line of a text: [begin, end) without its line end; `next` is the start of the next line.
struct Line {
    qsizetype begin = 0;
    qsizetype end = 0;
    qsizetype next = 0;
};
Line lineAt(QByteArrayView text, qsizetype begin);

// The first character of a line that is not a blank, or 0.
char firstCharacter(QByteArrayView text, const Line &line);

// Reads escaped text from `at` up to the closing character, and advances `at` past that. Nothing if
// the closing character is missing. Bytes that are not ASCII, which only manual edits contain, are
// decoded as UTF-8 if valid, else as Latin-1.
std::optional<QString> readEscaped(QByteArrayView text, qsizetype &at, char close);

// The reverse: `special` characters, the backslash and all non-ASCII characters are escaped.
QByteArray escaped(QStringView text, QByteArrayView special);

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
