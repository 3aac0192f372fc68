#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace ziplib {

// The codes that ZpArchive returns.
enum class Code : std::int32_t {
    Done = 0,
    Warnings = 1,
    Damaged = 2,
    SevereDamage = 3,
    NoArchive = 9,
    NothingMatched = 11,
    NothingToDo = 12,
    CannotWrite = 14,
    CannotCreate = 15,
    CannotOpen = 18,
    DiskFull = 50,
    EndsEarly = 51,
    Cancelled = 80,
    Unsupported = 81,
    NoPassword = 82,
};

// How a step ended: a code, and for a failure the text that the user gets to read, which names the
// file and the reason.
class [[nodiscard]] Outcome {
  public:
    Outcome() = default;
    Outcome(Code code, std::string text) : m_code(code), m_text(std::move(text)) {}

    bool ok() const { return m_code == Code::Done; }
    Code code() const { return m_code; }
    const std::string &text() const { return m_text; }

  private:
    Code m_code = Code::Done;
    std::string m_text;
};

} // namespace ziplib
