#include "registry/posix/hiveValue.h"

#include "registry/posix/registryText.h"

#include <QtEndian>

#include <array>

namespace platform::hive {

namespace {

constexpr qsizetype kLongestLine = 76; // columns of a line of bytes

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

int digit(char c, int base) {
    int value = -1;
    if (c >= '0' && c <= '9')
        value = c - '0';
    else if (c >= 'a' && c <= 'f')
        value = c - 'a' + 10;
    else if (c >= 'A' && c <= 'F')
        value = c - 'A' + 10;
    return value < base ? value : -1;
}

// Reads up to `most` digits. Nothing if there are none.
std::optional<std::uint32_t> readNumber(QByteArrayView text, qsizetype &at, int base, int most) {
    std::uint32_t number = 0;
    const qsizetype begin = at;
    while (at < text.size() && at - begin < most && digit(text[at], base) >= 0)
        number = number * static_cast<std::uint32_t>(base) +
                 static_cast<std::uint32_t>(digit(text[at++], base));
    return at == begin ? std::nullopt : std::optional(number);
}

bool isTextType(std::uint32_t type) {
    return type == TypeText || type == TypeExpandText || type == TypeTextList;
}

QByteArray wideData(QStringView text) {
    QByteArray data(text.size() * 2, Qt::Uninitialized);
    for (qsizetype i = 0; i < text.size(); ++i)
        qToLittleEndian<quint16>(text[i].unicode(), data.data() + 2 * i);
    return data;
}

// Text of an odd number of bytes ends in half a character.
QString textOfData(const QByteArray &data) {
    QString text(data.size() / 2, Qt::Uninitialized);
    for (qsizetype i = 0; i < text.size(); ++i)
        text[i] = QChar(qFromLittleEndian<quint16>(data.constData() + 2 * i));
    return text;
}

// Reads the part of an escape after the backslash.
QChar readEscape(QByteArrayView text, qsizetype &at) {
    static constexpr QByteArrayView kLetters = "abefnrtv";
    static constexpr std::array<char16_t, 8> kMeanings = {7, 8, 27, 12, 10, 13, 9, 11};
    if (text[at] == 'x') {
        qsizetype digits = at + 1;
        if (const auto number = readNumber(text, digits, 16, 4)) {
            at = digits;
            return QChar(static_cast<char16_t>(*number));
        }
    }
    if (const auto number = readNumber(text, at, 8, 3))
        return QChar(static_cast<char16_t>(*number));
    const char c = text[at++];
    const qsizetype letter = kLetters.indexOf(c);
    return letter < 0 ? QChar(QLatin1Char(c))
                      : QChar(kMeanings.at(static_cast<std::size_t>(letter)));
}

// A sequence of bytes that are not ASCII.
QString readBytes(QByteArrayView text, qsizetype &at) {
    const qsizetype begin = at;
    while (at < text.size() && static_cast<unsigned char>(text[at]) >= 0x80)
        ++at;
    const QByteArrayView run = text.sliced(begin, at - begin);
    QString wide = wideText(run);
    for (qsizetype i = 0; i < wide.size(); ++i) {
        const bool isPair = i > 0 && wide[i - 1].isHighSurrogate();
        if (wide[i].isLowSurrogate() && !isPair)
            return QString::fromLatin1(run);
    }
    return wide;
}

// Whether a line can continue a list of bytes.
bool continuesBytes(QByteArrayView line) {
    bool hasByte = false;
    for (const char c : line) {
        const bool isDigit = digit(c, 16) >= 0;
        if (!isDigit && !isBlank(c) && c != ',' && c != '\\')
            return false;
        hasByte = hasByte || isDigit;
    }
    return hasByte;
}

// The bytes of one line. `more` is set if the next line continues the list.
bool readBytesOfLine(QByteArrayView line, QByteArray &data, bool &more) {
    more = false;
    for (qsizetype at = 0; at < line.size();) {
        if (isBlank(line[at]) || (line[at] == ',' && !more)) {
            ++at;
        } else if (line[at] == '\\' && !more) {
            more = true;
            ++at;
        } else {
            const auto byte = more ? std::nullopt : readNumber(line, at, 16, 2);
            if (!byte || (at < line.size() && digit(line[at], 16) >= 0))
                return false;
            data += static_cast<char>(*byte);
        }
    }
    return true;
}

// The bytes from `at`, which lies in `line`; that becomes the last line of the list.
std::optional<QByteArray> readHex(QByteArrayView text, qsizetype at, Line &line) {
    QByteArray data;
    Line current = line;
    bool more = true;
    while (readBytesOfLine(text.sliced(at, current.end - at), data, more)) {
        if (!more) {
            line = current;
            return data;
        }
        if (current.next >= text.size())
            break;
        current = lineAt(text, current.next);
        if (!continuesBytes(text.sliced(current.begin, current.end - current.begin)))
            break;
        at = current.begin;
    }
    return std::nullopt;
}

// Skips `word` at `at`.
bool skip(QByteArrayView text, qsizetype &at, QByteArrayView word) {
    if (!text.sliced(at).startsWith(word))
        return false;
    at += word.size();
    return true;
}

// Skips `word`, with a type in brackets behind it or none, and the colon.
bool readTypeTag(QByteArrayView text, qsizetype &at, QByteArrayView word, std::uint32_t &type) {
    qsizetype position = at;
    if (!skip(text, position, word))
        return false;
    if (skip(text, position, "(")) {
        const auto number = readNumber(text, position, 16, 8);
        if (!number || !skip(text, position, ")"))
            return false;
        type = *number;
    }
    if (!skip(text, position, ":"))
        return false;
    at = position;
    return true;
}

std::optional<Value> readText(QByteArrayView text, qsizetype at, std::uint32_t type, bool addNul) {
    if (!skip(text, at, "\""))
        return std::nullopt;
    std::optional<QString> content = readEscaped(text, at, '"');
    if (!content)
        return std::nullopt;
    if (addNul)
        *content += QChar(0);
    return Value{type, wideData(*content)};
}

std::optional<Value> readNumberValue(QByteArrayView text, qsizetype at) {
    const auto number = readNumber(text, at, 16, 8);
    if (!number || (at < text.size() && digit(text[at], 16) >= 0))
        return std::nullopt;
    QByteArray data(4, Qt::Uninitialized);
    qToLittleEndian<quint32>(*number, data.data());
    return Value{TypeNumber, data};
}

// `line` becomes the value's last line.
std::optional<Value> readData(QByteArrayView text, qsizetype at, Line &line) {
    const QByteArrayView part = text.first(line.end);
    std::uint32_t type = TypeText;
    if (part.sliced(at).startsWith('"'))
        return readText(part, at, type, true);
    const bool isPlain = part.sliced(at).startsWith("str:");
    if (readTypeTag(part, at, "str", type))
        return readText(part, at, type, !isPlain);
    if (skip(part, at, "dword:"))
        return readNumberValue(part, at);
    type = TypeBinary;
    if (!readTypeTag(part, at, "hex", type))
        return std::nullopt;
    std::optional<QByteArray> data = readHex(text, at, line);
    return data ? std::optional(Value{type, *data}) : std::nullopt;
}

void skipBlanks(QByteArrayView text, qsizetype &at) {
    while (at < text.size() && isBlank(text[at]))
        ++at;
}

QByteArray writeBytes(const Value &value, QByteArrayView lineEnd) {
    QByteArray out = value.type == TypeBinary ? QByteArray("hex:")
                                              : "hex(" + QByteArray::number(value.type, 16) + "):";
    qsizetype lineBegin = 0;
    for (qsizetype i = 0; i < value.data.size(); ++i) {
        out += value.data.sliced(i, 1).toHex();
        if (i + 1 == value.data.size())
            break;
        out += ',';
        if (out.size() - lineBegin > kLongestLine) {
            out += '\\';
            out += lineEnd;
            lineBegin = out.size();
            out += "  ";
        }
    }
    return out;
}

} // namespace

Value valueFromNarrow(std::uint32_t type, const QByteArray &data) {
    return {type, isTextType(type) ? wideData(wideText(data)) : data};
}

QByteArray narrowData(const Value &value) {
    return isTextType(value.type) ? narrowText(textOfData(value.data)) : value.data;
}

Line lineAt(QByteArrayView text, qsizetype begin) {
    const qsizetype feed = text.indexOf('\n', begin);
    Line line{begin, feed < 0 ? text.size() : feed, feed < 0 ? text.size() : feed + 1};
    if (line.end > begin && text[line.end - 1] == '\r')
        --line.end;
    return line;
}

char firstCharacter(QByteArrayView text, const Line &line) {
    qsizetype at = line.begin;
    skipBlanks(text.first(line.end), at);
    return at < line.end ? text[at] : '\0';
}

std::optional<QString> readEscaped(QByteArrayView text, qsizetype &at, char close) {
    QString content;
    while (at < text.size()) {
        const char c = text[at];
        if (c == close) {
            ++at;
            return content;
        }
        if (c == '\\') {
            if (++at < text.size())
                content += readEscape(text, at);
        } else if (static_cast<unsigned char>(c) >= 0x80) {
            content += readBytes(text, at);
        } else {
            content += QLatin1Char(c);
            ++at;
        }
    }
    return std::nullopt;
}

QByteArray escaped(QStringView text, QByteArrayView special) {
    QByteArray out;
    out.reserve(text.size() + 8);
    for (const QChar wide : text) {
        const char16_t unit = wide.unicode();
        const char c = unit < 0x80 ? static_cast<char>(unit) : '\0';
        if (unit == '\n')
            out += "\\n";
        else if (unit == '\r')
            out += "\\r";
        else if (unit == '\t')
            out += "\\t";
        else if (unit < 32) // always three digits, so that a digit may follow
            out += '\\' + QByteArray::number(unit, 8).rightJustified(3, '0');
        else if (unit > 126) // always four digits, for the same reason
            out += "\\x" + QByteArray::number(unit, 16).rightJustified(4, '0');
        else if (c == '\\' || special.contains(c))
            (out += '\\') += c;
        else
            out += c;
    }
    return out;
}

ValueLine readValue(QByteArrayView text, const Line &line) {
    ValueLine result;
    result.end = line.end;
    result.next = line.next;
    const QByteArrayView part = text.first(line.end);
    qsizetype at = line.begin;
    skipBlanks(part, at);
    if (!skip(part, at, "@")) {
        std::optional<QString> name;
        if (skip(part, at, "\""))
            name = readEscaped(part, at, '"');
        if (!name)
            return result;
        result.name = *name;
    }
    skipBlanks(part, at);
    if (!skip(part, at, "="))
        return result;
    skipBlanks(part, at);
    Line last = line;
    result.dataBegin = at;
    result.value = readData(text, at, last);
    result.end = last.end;
    result.next = last.next;
    return result;
}

QByteArray writeData(const Value &value, QByteArrayView lineEnd) {
    if (value.type == TypeNumber && value.data.size() == 4)
        return "dword:" + QByteArray::number(qFromLittleEndian<quint32>(value.data.constData()), 16)
                              .rightJustified(8, '0');
    if (!isTextType(value.type) || value.data.size() % 2 != 0)
        return writeBytes(value, lineEnd);
    QString text = textOfData(value.data);
    const bool hasNul = text.endsWith(QChar(0));
    if (hasNul)
        text.chop(1);
    const QByteArray quoted = '"' + escaped(text, "\"") + '"';
    if (value.type == TypeText)
        return hasNul ? quoted : "str:" + quoted;
    return hasNul ? "str(" + QByteArray::number(value.type, 16) + "):" + quoted
                  : writeBytes(value, lineEnd);
}

QByteArray writeName(QStringView name) {
    return name.isEmpty() ? QByteArray("@=") : '"' + escaped(name, "\"") + "\"=";
}

} // namespace platform::hive
