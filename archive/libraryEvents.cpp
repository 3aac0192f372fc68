#include "archive/libraryEvents.h"

#include "archive/marshalling.h"
#include "platform/narrow.h"

#include <algorithm>
#include <cstring>

using marshalling::attempt;

namespace {

constexpr qsizetype kMaxPassword = 254; // bytes

IdleHandler currentHandler = nullptr;

} // namespace

void setIdleHandler(IdleHandler handler) {
    currentHandler = handler;
}

void callIdleHandler() noexcept {
    if (currentHandler != nullptr)
        attempt(currentHandler);
}

QString LibraryEvents::onPrint(const char *buffer, std::uint32_t size,
                               QString &lastMessage) const noexcept {
    if (!marshalling::isTextSize(size))
        return {};
    QString message;
    attempt([&] { message = marshalling::text(buffer, size); });
    // Not converted: its paths are shown to the user in the system's form.
    attempt([&] { lastMessage = message.trimmed(); });
    QString written = message;
    if (Progress) { // a message for each of many entries is converted only if somebody reads it
        attempt([&] { marshalling::SlashesToBackslashes(message); });
        attempt([&] { RaiseProgress(message); });
    }
    return written;
}

std::int32_t LibraryEvents::onPassword(char *buffer, std::int32_t size) noexcept {
    if (m_bPasswordCancelled)
        return 1;
    QString password;
    bool cancel = false;
    attempt([&] { RaisePasswordRequest(password, cancel); });
    attempt([&] { password = marshalling::trimBlanks(password); });
    m_bPasswordCancelled = password.isEmpty() || cancel;
    if (m_bPasswordCancelled || buffer == nullptr || size < 1)
        return 1;
    QByteArray bytes;
    attempt([&] { bytes = platform::toNarrow(password); });
    if (bytes.isEmpty())
        return 1;
    const qsizetype length = std::min({bytes.size(), kMaxPassword, qsizetype{size} - 1});
    std::memcpy(buffer, bytes.constData(), static_cast<std::size_t>(length));
    buffer[length] = '\0';
    return 0;
}

std::int32_t LibraryEvents::onService(const char *name, std::uint32_t size,
                                      Separators separators) const noexcept {
    if (!marshalling::isTextSize(size))
        return 0;
    bool cancel = false;
    QString text;
    attempt([&] { text = marshalling::text(name, size); });
    if (separators == Separators::Backslashes)
        attempt([&] { marshalling::SlashesToBackslashes(text); });
    attempt([&] { RaiseCancel(text, cancel); });
    return cancel ? 1 : 0;
}

void LibraryEvents::RaiseCancel(const QString &sMsg, bool &bCancel) const {
    if (Cancel)
        Cancel(sMsg, bCancel);
}

void LibraryEvents::RaisePasswordRequest(QString &sPassword, bool &bCancel) const {
    if (PasswordRequest)
        PasswordRequest(sPassword, bCancel);
}

void LibraryEvents::RaiseProgress(const QString &sMsg) const {
    if (Progress)
        Progress(1, sMsg);
}
