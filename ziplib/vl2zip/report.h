#pragma once

#include "ziplib/common/outcome.h"
#include "ziplib/vl2zip.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ziplib {

// What a call tells its caller while it works. Used on the caller's thread only.
class Report {
  public:
    // `onPacked` may be null, as each of the callbacks may.
    Report(const ZIPUSERFUNCTIONS &callbacks, VL2ZIP_PACKED onPacked, bool verbose, bool quiet);

    // One line about a file; left out where fewer messages are asked for.
    void say(const std::string &text);
    // A line for those who asked for more messages.
    void detail(std::string_view what, std::string_view more);
    // Something was left out. Printed when the call ends, so that it is the text that remains.
    void warn(const std::string &text) { m_warnings.push_back(text); }
    bool warned() const { return !m_warnings.empty(); }
    // The work begins again: what was left out before may be taken this time.
    void dropWarnings() { m_warnings.clear(); }
    // The call ends with this: its text is the last one printed. Returns its code.
    std::int32_t end(const Outcome &outcome);

    // To be called often: lets the caller paint, at least every 50 ms.
    void idle();
    // Reports a file as done; false where the caller wants to stop.
    bool done(const std::string &name);
    // Reports a file whose bytes the archive holds.
    void packed(const ZPPACKED &file);
    bool wantsPacked() const { return m_packed != nullptr; }
    // Asks for the password of an entry; empty where it is declined.
    std::optional<std::string> password(const std::string &name);

  private:
    void print(const std::string &text);

    ZIPUSERFUNCTIONS m_callbacks;
    VL2ZIP_PACKED m_packed;
    bool m_verbose;
    bool m_quiet;
    std::vector<std::string> m_warnings;
    std::chrono::steady_clock::time_point m_lastCall;
};

} // namespace ziplib
