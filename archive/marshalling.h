#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <cstdint>
#include <vector>

// Conversion of texts between the program and the companion libraries, which take NUL-terminated
// strings in the narrow code page.
namespace marshalling {

// Runs one step of a callback and discards any exception: none may pass through the library, and
// the next step still runs, with the data as the failed one left it.
template<typename Step>
void attempt(const Step &step) noexcept {
    try {
        step();
    } catch (...) { // NOLINT(bugprone-empty-catch)
    }
}

// The path in the system's own form. A blank path is converted unchanged.
QByteArray path(const QString &sPath);

// True if the size that a callback reports is that of a text: 2 to 31999 bytes.
constexpr bool isTextSize(std::uint32_t size) {
    return size >= 2 && size < 32000;
}

// A text of the library, up to its first NUL and at most `limit` bytes long.
QString text(const char *bytes, std::size_t limit);

// The text without leading and trailing blanks; other white space stays.
QString trimBlanks(const QString &sText);

// Turns every "/" into "\". Returns the 1-based position after the last one, or 1 if there is none.
qsizetype SlashesToBackslashes(QString &sText);

// A list of names for the library: 1024 slots, null unless set.
class NameTable {
  public:
    // Raises 9 if the slot is outside the table.
    void put(std::int32_t slot, const QString &sName);
    char **table() { return m_slots.data(); }

  private:
    std::array<char *, 1024> m_slots{};
    std::vector<QByteArray> m_names;
};

} // namespace marshalling
