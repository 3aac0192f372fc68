#include "platform/narrow.h"

namespace platform {

QByteArray toNarrow(const QString &text) {
    return text.toUtf8();
}

QString fromNarrow(QByteArrayView bytes) {
    return QString::fromUtf8(bytes);
}

QString narrowPath(const QString &path) {
    return path;
}

std::optional<QStringList> argumentsOf(int argc, char **argv) {
    QStringList texts;
    for (int i = 1; i < argc; ++i) {
        texts.append(fromNarrow(argv[i]));
        if (toNarrow(texts.back()) != argv[i])
            return std::nullopt;
    }
    return texts;
}

} // namespace platform
