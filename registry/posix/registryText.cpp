#include "registry/posix/registryText.h"

#include <array>

namespace platform::hive {

namespace {

// The length of the well-formed UTF-8 sequence at the start of `bytes`, which is not empty; 0 if
// there is none.
qsizetype readSequence(QByteArrayView bytes, char32_t &character) {
    static constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
    const auto lead = static_cast<unsigned char>(bytes[0]);
    if (lead < 0x80) {
        character = lead;
        return 1;
    }
    const int length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || bytes.size() < length)
        return 0;
    character = lead & (0x7FU >> static_cast<unsigned>(length));
    for (int i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(bytes[i]);
        if ((next & 0xC0U) != 0x80)
            return 0;
        character = (character << 6U) | (next & 0x3FU);
    }
    if (character < kSmallest.at(static_cast<std::size_t>(length)) || character > 0x10FFFF ||
        QChar::isSurrogate(character))
        return 0;
    return length;
}

void appendUtf8(QByteArray &bytes, char32_t character) {
    const auto tail = [&](unsigned shift) {
        bytes += static_cast<char>(0x80U | ((character >> shift) & 0x3FU));
    };
    if (character < 0x80) {
        bytes += static_cast<char>(character);
    } else if (character < 0x800) {
        bytes += static_cast<char>(0xC0U | (character >> 6U));
        tail(0);
    } else if (character < 0x10000) {
        bytes += static_cast<char>(0xE0U | (character >> 12U));
        tail(6);
        tail(0);
    } else {
        bytes += static_cast<char>(0xF0U | (character >> 18U));
        tail(12);
        tail(6);
        tail(0);
    }
}

void appendUtf16(QString &text, char32_t character) {
    if (QChar::requiresSurrogates(character)) {
        text += QChar(QChar::highSurrogate(character));
        text += QChar(QChar::lowSurrogate(character));
    } else {
        text += QChar(static_cast<char16_t>(character));
    }
}

// Reads the character at `at` and advances it.
char32_t takeCharacter(QStringView text, qsizetype &at) {
    const QChar first = text[at++];
    if (first.isHighSurrogate() && at < text.size() && text[at].isLowSurrogate())
        return QChar::surrogateToUcs4(first, text[at++]);
    return first.unicode();
}

} // namespace

QString wideText(QByteArrayView narrow) {
    QString text;
    text.reserve(narrow.size());
    while (!narrow.isEmpty()) {
        char32_t character = 0;
        qsizetype length = readSequence(narrow, character);
        if (length == 0) {
            character = 0xDC00U + static_cast<unsigned char>(narrow[0]);
            length = 1;
        }
        appendUtf16(text, character);
        narrow = narrow.sliced(length);
    }
    return text;
}

QByteArray narrowText(QStringView wide) {
    QByteArray bytes;
    bytes.reserve(wide.size());
    for (qsizetype at = 0; at < wide.size();) {
        const char32_t character = takeCharacter(wide, at);
        if (character >= 0xDC80 && character <= 0xDCFF)
            bytes += static_cast<char>(character - 0xDC00);
        else
            appendUtf8(bytes, QChar::isSurrogate(character) ? char32_t{0xFFFD} : character);
    }
    return bytes;
}

QString foldCase(QStringView text) {
    QString folded;
    folded.reserve(text.size());
    for (qsizetype at = 0; at < text.size();) {
        const char32_t character = takeCharacter(text, at);
        if (character < 0x80)
            folded += QChar(static_cast<char16_t>(
                character >= 'A' && character <= 'Z' ? character + 32 : character));
        else
            appendUtf16(folded, QChar::toCaseFolded(character));
    }
    return folded;
}

QString keyPath(QStringView path) {
    const qsizetype end = path.indexOf(QChar(0));
    if (end >= 0)
        path = path.first(end);
    QString result;
    result.reserve(path.size());
    for (const QStringView part : path.tokenize(u'\\', Qt::SkipEmptyParts)) {
        if (!result.isEmpty())
            result += u'\\';
        result += part;
    }
    return result;
}

} // namespace platform::hive
