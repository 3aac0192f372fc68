#include "registry/posix/hiveValue.h"

#include "registry/posix/registryText.h"

#include <QtEndian>

namespace platform::hive {

namespace {

constexpr qsizetype kLongestLine = 76; // columns of a line of bytes

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
