#pragma once

#include "ziplib/common/returnCode.h"

#include <string>
#include <utility>

namespace ziplib {

// How a step ended: a code, and for a failure the text that the user gets to read, which names the
// file and the reason.
class [[nodiscard]] Outcome {
  public:
    Outcome() = default;
    Outcome(ReturnCode code, std::string text) : m_code(code), m_text(std::move(text)) {}

    bool ok() const { return m_code == ReturnCode::Done; }
    ReturnCode code() const { return m_code; }
    const std::string &text() const { return m_text; }

  private:
    ReturnCode m_code = ReturnCode::Done;
    std::string m_text;
};

} // namespace ziplib
