#pragma once

#include "platform/status.h"

#include <cstdint>
#include <string>

namespace ziplib {

// What a call returns, as the interface numbers it.
enum class Code : std::int32_t {
    Done = 0,
    Warnings = 1,
    Damaged = 2,
    Severe = 3,
    NoArchive = 9,
    NothingMatched = 11,
    DiskFull = 50,
    EndsEarly = 51,
    Cancelled = 80,
    Unsupported = 81,
    Password = 82
};

// The code for an entry that failed so.
Code codeOfEntry(const platform::Status &status);
// The code for an archive that could not be opened, or whose directory could not be read.
Code codeOfArchive(const platform::Status &status);

// Gathers how the steps of a call went: the code that says most, and the text that goes with it.
class Outcome {
  public:
    void add(Code code, const std::string &message);

    Code code() const { return m_code; }
    // The text of the first step that had this code.
    const std::string &message() const { return m_message; }

  private:
    Code m_code = Code::Done;
    std::string m_message;
};

} // namespace ziplib
