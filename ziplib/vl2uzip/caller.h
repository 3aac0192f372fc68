#pragma once

#include "ziplib/vl2uzip.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace ziplib {

// The program on the other side of a call: its callbacks, any of which may be missing.
class Caller {
  public:
    enum class Answer { Keep, Replace, ReplaceAll, KeepAll };

    Caller(USERFUNCTIONS &functions, std::int32_t quiet);

    // A text about an entry that went well; not sent where fewer messages are wanted.
    void report(const std::string &text);
    // A text about something that did not; not sent where no messages are wanted.
    void warn(const std::string &text);
    // Sends a text again where others came after it: programs show the last one.
    void warnLast(const std::string &text);
    // Gives the program a chance to keep its windows alive. Costs next to nothing, so call it
    // often: between all steps that may take a millisecond.
    void tick();
    // Tells that an entry is done. False where the program wants to stop.
    bool processed(const std::string &path);
    // What to do about a file that exists.
    Answer replace(const std::string &path);
    // Asks for a password, which is taken byte for byte. False where there is none to be had.
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

    // Leaves the totals in the program's record.
    void setTotals(std::uint64_t size, std::uint64_t compressedSize, std::uint64_t entries,
                   std::uint64_t comment);

  private:
    using Clock = std::chrono::steady_clock;

    void print(const std::string &text);

    USERFUNCTIONS &m_functions;
    std::int32_t m_quiet;
    std::string m_lastText;
    Clock::time_point m_lastPrint = Clock::now();
};

// Share of `size` that packing saved, in percent.
std::int32_t percentSaved(std::uint64_t size, std::uint64_t compressedSize);

} // namespace ziplib
