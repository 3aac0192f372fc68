#include "platform/narrow.h"

#include "platform/windows/system.h"
#include "storage/storage.h"
#include "storage/windows/system.h"

#include <shellapi.h>

namespace platform {

namespace {

bool fitsCodePage(const QString &text) {
    return fromNarrow(toNarrow(text)) == text;
}

// Replaces the existing part of a path in the long form by short names.
QString withShortNames(const QString &path) {
    for (qsizetype end = path.size(); end > 0; end = path.lastIndexOf(u'\\', end - 1)) {
        QString found(32768, QChar(0));
        const DWORD size =
            GetShortPathNameW(wide(path.first(end)), reinterpret_cast<wchar_t *>(found.data()),
                              static_cast<DWORD>(found.size()));
        if (size > 0 && size < 32768)
            return found.first(static_cast<qsizetype>(size)) + path.sliced(end);
    }
    return path;
}

} // namespace

QByteArray toNarrow(const QString &text) {
    return QByteArray::fromStdString(narrowFromUtf8(text.toStdString()));
}

QString fromNarrow(QByteArrayView bytes) {
    return QString::fromStdString(
        utf8FromNarrow({bytes.data(), static_cast<std::size_t>(bytes.size())}));
}

QString narrowPath(const QString &path) {
    const bool isWhole = path.startsWith(QStringLiteral("\\\\")) || path.indexOf(u':') == 1;
    if (!isWhole || fitsCodePage(path))
        return path;
    const QString other =
        QString::fromStdWString(withoutLongPrefix(withShortNames(longPath(path)).toStdWString()));
    return fitsCodePage(other) ? other : path;
}

// `argv` lacks the characters that the code page does not have.
std::optional<QStringList> argumentsOf(int, char **) {
    int count = 0;
    wchar_t **const words = CommandLineToArgvW(GetCommandLineW(), &count);
    if (words == nullptr)
        return std::nullopt;
    QStringList texts;
    for (int i = 1; i < count; ++i)
        texts.append(QString::fromWCharArray(words[i]));
    LocalFree(static_cast<HLOCAL>(words));
    return texts;
}

} // namespace platform
