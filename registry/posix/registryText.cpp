#include "registry/posix/registryText.h"

#include "storage/utf8.h"

namespace platform::hive {

namespace {

// A malformed byte is this lone surrogate plus the byte.
constexpr char32_t kLoneByte = 0xDC00;

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
    const std::string_view bytes(narrow.data(), static_cast<std::size_t>(narrow.size()));
    QString text;
    text.reserve(narrow.size());
    for (std::size_t at = 0; at < bytes.size();) {
        const char32_t character = nextCodePoint(bytes, at);
        appendUtf16(text, character < kMalformedByte ? character
                                                     : kLoneByte + (character - kMalformedByte));
    }
    return text;
}

QByteArray narrowText(QStringView wide) {
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(wide.size()));
    for (qsizetype at = 0; at < wide.size();) {
        const char32_t character = takeCharacter(wide, at);
        if (character >= kLoneByte + 0x80 && character <= kLoneByte + 0xFF)
            bytes += static_cast<char>(character - kLoneByte);
        else
            appendUtf8(bytes, QChar::isSurrogate(character) ? char32_t{0xFFFD} : character);
    }
    return QByteArray::fromStdString(bytes);
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
