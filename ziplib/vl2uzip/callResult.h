#pragma once

#include "ziplib/common/returnCode.h"

#include <cstdint>
#include <string>

namespace ziplib {

// The code for a failed entry.
ReturnCode codeOfEntry(const Status &status);
// The code for an archive that could not be opened, or whose directory could not be read.
ReturnCode codeOfArchive(const Status &status);

// Collects the results of the steps of a call: the code of the highest priority, its message, and
// the number of wanted entries that are missing.
class CallResult {
  public:
    void add(ReturnCode code, const std::string &message);
    // A failed entry.
    void add(const Status &status, const std::string &message);
    // Replaces code and message of earlier steps.
    void replace(ReturnCode code, const std::string &message);
    void addMissing(std::uint64_t entries);

    ReturnCode code() const { return m_code; }
    // The message of the first step that had this code.
    const std::string &message() const { return m_message; }
    // Whether an entry failed for the lack of a permission or an error of a device, which the code
    // does not tell from a skipped one.
    bool hasSystemFailure() const { return m_systemFailure; }
    // See UzpMissingCount.
    std::int32_t missing() const { return m_missing; }

  private:
    ReturnCode m_code = ReturnCode::Done;
    std::string m_message;
    std::int32_t m_missing = 0;
    bool m_systemFailure = false;
};

} // namespace ziplib
