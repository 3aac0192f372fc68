#pragma once

#include "ziplib/common/callbackReporter.h"
#include "ziplib/common/returnCode.h"
#include "ziplib/vl2zip.h"

#include <string_view>
#include <vector>

namespace ziplib {

// Reports to the program during a save.
class Report : public CallbackReporter {
  public:
    // `onPacked` and `onConflict` may be null.
    Report(const ZIPUSERFUNCTIONS &callbacks, VL2ZIP_PACKED onPacked, VL2ZIP_CONFLICT onConflict,
           bool verbose, bool quiet)
        : CallbackReporter({callbacks.print, callbacks.password, callbacks.ServiceApplication},
                           quiet ? 1 : 0),
          m_packed(onPacked), m_conflict(onConflict), m_verbose(verbose) {}

    // A message that is sent only if more messages are requested.
    void detail(std::string_view what, std::string_view more) {
        if (m_verbose)
            print(std::string(what).append(more));
    }
    // Something was left out. The messages are sent when the call ends, as the last ones.
    void defer(const std::string &text) { m_deferred.push_back(text); }
    const std::vector<std::string> &deferred() const { return m_deferred; }
    bool hasDeferred() const { return !m_deferred.empty(); }
    // For a save that starts again: a file that was left out may be packed this time.
    void dropDeferred() { m_deferred.clear(); }
    // Sends the last messages of the call and returns its code.
    std::int32_t end(const Status &status) {
        for (const auto &text : m_deferred)
            print(text);
        if (!status.ok())
            print(status.message);
        else if (hasDeferred())
            return static_cast<std::int32_t>(ReturnCode::Warnings);
        // All kinds but that of an archive that does not exist have codes of their own.
        return static_cast<std::int32_t>(returnCodeOf(status, ReturnCode::NoArchive));
    }

    // Reports a file whose bytes the archive holds.
    void packed(const ZPPACKED &file) {
        tick();
        m_packed(&file);
    }
    bool wantsPacked() const { return m_packed != nullptr; }
    // Reports an entry that was changed in the archive and in the folder.
    void conflict(const ZPVERSION &entry) {
        tick();
        if (m_conflict != nullptr)
            m_conflict(&entry);
    }

  private:
    VL2ZIP_PACKED m_packed;
    VL2ZIP_CONFLICT m_conflict;
    bool m_verbose;
    std::vector<std::string> m_deferred;
};

} // namespace ziplib
