#include "registry/posix/hiveText.h"

#include "registry/posix/registryText.h"

#include <array>

namespace platform::hive {

namespace {

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

} // namespace

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

std::optional<std::uint32_t> readNumber(QByteArrayView text, qsizetype &at, int base, int most) {
    std::uint32_t number = 0;
    const qsizetype begin = at;
    while (at < text.size() && at - begin < most && digit(text[at], base) >= 0)
        number = number * static_cast<std::uint32_t>(base) +
                 static_cast<std::uint32_t>(digit(text[at++], base));
    return at == begin ? std::nullopt : std::optional(number);
}

void skipBlanks(QByteArrayView text, qsizetype &at) {
    while (at < text.size() && isBlank(text[at]))
        ++at;
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

} // namespace platform::hive
