#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <cstdint>
#include <vector>

// How texts cross to the companion libraries and back: NUL-terminated, in the narrow code page.
namespace crossing {

// Runs one step of a callback. What it throws is dropped, since nothing may be thrown through the
// library and an answer is owed to it: the next step runs with things as they stand.
template<typename Step>
void attempt(const Step &step) noexcept {
    try {
        step();
    } catch (...) { // NOLINT(bugprone-empty-catch)
    }
}

// The program's path in the system's own form. A blank path crosses as it is.
QByteArray path(const QString &sPath);

// True where a size that came with a text is one of a text: 2 to 31999 bytes.
constexpr bool isTextSize(std::uint32_t size) {
    return size >= 2 && size < 32000;
}

// A text of the library, read up to its first NUL and never more than `limit` bytes of it.
QString text(const char *bytes, std::size_t limit);

// The text without the blanks at its ends; other white space stays.
QString trimBlanks(const QString &sText);

// Hands a password over in the library's buffer of `size` bytes: at most 254 bytes of it, never
// more than fit with the NUL that follows. False where there is no room even for that.
bool copyPassword(const QString &sPassword, char *buffer, std::int32_t size);

// Answers a library's request for a password: 0 with the password in `buffer`, else 1. `ask` gets
// the password and a flag to cancel, both by reference. One refusal sets `cancelled`, which answers
// every later request without asking.
template<typename Ask>
std::int32_t answerPassword(bool &cancelled, const Ask &ask, char *buffer,
                            std::int32_t size) noexcept {
    if (cancelled)
        return 1;
    QString password;
    bool cancel = false;
    attempt([&] { ask(password, cancel); });
    attempt([&] { password = trimBlanks(password); });
    if (password.isEmpty() || cancel) {
        cancelled = true;
        return 1;
    }
    bool copied = false;
    attempt([&] { copied = copyPassword(password, buffer, size); });
    return copied ? 0 : 1;
}

// The table in which names cross: 1024 slots, null where nothing was put.
class NameTable {
  public:
    // Raises 9 where the slot is outside the table.
    void put(std::int32_t slot, const QString &sName);
    char **table() { return m_slots.data(); }

  private:
    std::array<char *, 1024> m_slots{};
    std::vector<QByteArray> m_names;
};

} // namespace crossing
