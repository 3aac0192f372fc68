#include "platform/narrow.h"

#include "platform/windows/system.h"

namespace platform {

QByteArray toNarrow(const QString &text) {
    const int size = static_cast<int>(text.size());
    const int needed =
        WideCharToMultiByte(CP_ACP, 0, wide(text), size, nullptr, 0, nullptr, nullptr);
    QByteArray bytes(needed, '\0');
    WideCharToMultiByte(CP_ACP, 0, wide(text), size, bytes.data(), needed, nullptr, nullptr);
    return bytes;
}

QString fromNarrow(QByteArrayView bytes) {
    const int size = static_cast<int>(bytes.size());
    const int needed = MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, nullptr, 0);
    QString text(needed, QChar(0));
    MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, reinterpret_cast<wchar_t *>(text.data()),
                        needed);
    return text;
}

} // namespace platform
