#pragma once

#include "platform/status.h"
#include "ziplib/container/code.h"

#include <string>

namespace ziplib {

// The code for an entry that failed so.
Code codeOfEntry(const platform::Status &status);
// The code for an archive that could not be opened, or whose directory could not be read.
Code codeOfArchive(const platform::Status &status);

// Gathers how the steps of a call went: the code that says most, and the text that goes with it.
class CallResult {
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
