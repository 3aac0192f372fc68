#pragma once

#include <QString>

#include <cstddef>
#include <cstdint>
#include <functional>

// Called from every callback of the companion libraries, at least every 50 ms during a call, and
// by loops over all entries of a record, so that the program can repaint its windows. Exceptions
// that it throws are discarded.
using IdleHandler = void (*)();

// Null, the initial state, for none.
void setIdleHandler(IdleHandler handler);

// Calls the handler, if one is set.
void callIdleHandler() noexcept;
// The same for a loop that has taken `count` steps: once in 4,096 steps, so that a short loop does
// not call it.
inline void callIdleHandler(std::size_t count) noexcept {
    if ((count & 0xFFFU) == 0xFFFU)
        callIdleHandler();
}

// Base class of cUnzip and cZip: the events that both raise, and the callbacks that raise them.
class LibraryEvents {
  public:
    // Events. Handlers run inside the library call; exceptions that they throw are discarded.
    // An entry or a file is done. Setting bCancel stops the call.
    std::function<void(const QString &sMsg, bool &bCancel)> Cancel;
    // A password is needed. An empty one (the default) or bCancel declines all requests of the
    // call.
    std::function<void(QString &sPassword, bool &bCancel)> PasswordRequest;
    // A message text of the library; lCount is always 1.
    std::function<void(std::int32_t lCount, const QString &sMsg)> Progress;

    // How a callback's names are passed on.
    enum class Separators { AsWritten, Backslashes };

  protected:
    // Answers a message callback: stores the trimmed text in `lastMessage` and raises Progress with
    // its "/" turned into "\". Returns the text as the library wrote it, or "" if `size` is not the
    // size of a text.
    QString onPrint(const char *buffer, std::uint32_t size, QString &lastMessage) const noexcept;

    // Answers a password callback: 0 with the password in `buffer` of `size` bytes, else 1. After
    // a refusal every request is declined without an event until m_bPasswordCancelled is reset.
    std::int32_t onPassword(char *buffer, std::int32_t size) noexcept;

    // Answers a progress callback: raises Cancel and returns 1 to stop the call, else 0.
    std::int32_t onService(const char *name, std::uint32_t size,
                           Separators separators) const noexcept;

    bool m_bPasswordCancelled = false;

  private:
    void RaiseCancel(const QString &sMsg, bool &bCancel) const;
    void RaisePasswordRequest(QString &sPassword, bool &bCancel) const;
    void RaiseProgress(const QString &sMsg) const;
};
