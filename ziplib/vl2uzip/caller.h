#pragma once

#include "ziplib/common/callbackReporter.h"
#include "ziplib/vl2uzip.h"

#include <cstdint>
#include <string>

namespace ziplib {

// Reports to the program and asks it during a listing or an extraction.
class Caller : public CallbackReporter {
  public:
    enum class Answer { Keep, Replace, ReplaceAll, KeepAll };

    Caller(USERFUNCTIONS &functions, std::int32_t quiet)
        : CallbackReporter({functions.print, functions.password, functions.ServCallBk}, quiet),
          m_functions(functions) {}

    // Asks whether to replace an existing file.
    Answer replace(const std::string &path);
    // Asks for a password, which is used byte for byte. False if the program declines.
    bool password(const std::string &path, std::string &password);
    // One listed entry; see VL2UZIP_ENTRY.
    struct Listed {
        std::uint64_t size = 0;
        std::uint64_t compressedSize = 0;
        int month = 1;
        int day = 1;
        int year = 1980;
        int hour = 0;
        int minute = 0;
        const char *method = "";
        std::uint32_t crc = 0;
        bool encrypted = false;
    };
    void list(const std::string &path, const Listed &entry);

    // Stores the totals in the program's record.
    void setTotals(std::uint64_t size, std::uint64_t compressedSize, std::uint64_t entries,
                   std::uint64_t comment);

  private:
    USERFUNCTIONS &m_functions;
};

// Percentage of `size` that compression saved.
std::int32_t percentSaved(std::uint64_t size, std::uint64_t compressedSize);

} // namespace ziplib
