#pragma once

#include "ziplib/format/directory.h"
#include "ziplib/vl2uzip.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace ziplib {

// The callbacks of the program that made the call; any of them may be missing.
class Caller {
  public:
    enum class Answer { Keep, Replace, ReplaceAll, KeepAll };

    Caller(USERFUNCTIONS &functions, std::int32_t quiet);

    // A message about an entry that succeeded; sent only if all messages are wanted.
    void report(const std::string &text);
    // A message about a failure; not sent if no messages are wanted.
    void warn(const std::string &text);
    // Sends a warning again unless it was the last message: programs show the last one.
    void warnLast(const std::string &text);
    // Lets the program repaint its windows, at most every 20 ms. Cheap: call it between all steps
    // that may take a millisecond.
    void tick();
    // Reports that an entry is done. False if the program cancels.
    bool processed(const std::string &path);
    // Asks whether to replace a file that exists.
    Answer replace(const std::string &path);
    // Asks for a password, whose bytes are used as they are. False if none is given.
    bool password(const std::string &path, std::string &password);
    // Sends one entry of a listing; see VL2UZIP_ENTRY.
    void list(const std::string &path, const Entry &entry);
    // Writes the totals to the program's record.
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

} // namespace ziplib
