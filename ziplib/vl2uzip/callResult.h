#pragma once

#include "storage/status.h"
#include "ziplib/common/returnCode.h"

#include <cstdint>
#include <string>

namespace ziplib {

// The code for an entry that failed so.
ReturnCode codeOfEntry(const platform::Status &status);
// The code for an archive that could not be opened, or whose directory could not be read.
ReturnCode codeOfArchive(const platform::Status &status);

// Gathers how the steps of a call went: the code that says most, the text that goes with it, and
// how many of the wanted entries are not there.
class CallResult {
  public:
    void add(ReturnCode code, const std::string &message);
    // Drops code and text of earlier steps for these.
    void replace(ReturnCode code, const std::string &message);
    void addMissing(std::uint64_t entries);

    ReturnCode code() const { return m_code; }
    // The text of the first step that had this code.
    const std::string &message() const { return m_message; }
    // See UzpMissingCount.
    std::int32_t missing() const { return m_missing; }

  private:
    ReturnCode m_code = ReturnCode::Done;
    std::string m_message;
    std::int32_t m_missing = 0;
};

} // namespace ziplib
