#pragma once

#include "ziplib/common/callbackReporter.h"
#include "ziplib/format/directory.h"
#include "ziplib/vl2uzip.h"

#include <cstdint>
#include <optional>
#include <string>

namespace ziplib {

// Reports to the program and asks it during a listing or an extraction.
class Caller : public CallbackReporter {
  public:
    enum class Answer { Keep, Replace, ReplaceAll, KeepAll };

    // `onExtracted` may be null.
    Caller(USERFUNCTIONS &functions, VL2UZIP_EXTRACTED onExtracted, std::int32_t quiet)
        : CallbackReporter({functions.print, functions.password, functions.ServCallBk}, quiet),
          m_functions(functions), m_extracted(onExtracted) {}

    // Asks whether to replace a file that exists.
    Answer replace(const std::string &path);
    // Asks for a password, whose bytes are used as they are. Nothing if none is given.
    std::optional<std::string> password(const std::string &path);
    // Sends one entry of a listing; see VL2UZIP_ENTRY.
    void list(const std::string &path, const Entry &entry);
    // Reports an entry of an extraction; `written` is null if it has no file.
    void extracted(const std::string &path, const Entry &entry, const platform::FileInfo *written);
    bool wantsExtracted() const { return m_extracted != nullptr; }
    // Writes the totals to the program's record.
    void setTotals(std::uint64_t size, std::uint64_t compressedSize, std::uint64_t entries,
                   std::uint64_t comment);

  private:
    USERFUNCTIONS &m_functions;
    VL2UZIP_EXTRACTED m_extracted;
};

} // namespace ziplib
