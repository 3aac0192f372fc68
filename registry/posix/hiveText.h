#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

#include <cstdint>
#include <optional>

// The lines of a hive file, and their parts: blanks, numbers, and text with escapes.
namespace platform::hive {

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

// Whether the character is a space or a tab.
bool isBlank(char c);

// Advances `at` past blanks.
void skipBlanks(QByteArrayView text, qsizetype &at);

// The value of a digit of the base (at most 16), or -1.
int digit(char c, int base);

// Reads up to `most` digits from `at`, and advances `at` past them. Nothing if there are none.
std::optional<std::uint32_t> readNumber(QByteArrayView text, qsizetype &at, int base, int most);

} // namespace platform::hive
