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

} // namespace platform
