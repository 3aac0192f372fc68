#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace ziplib {

// The callbacks that the C interfaces of both libraries share; each may be null.
struct Callbacks {
    std::int32_t (*print)(char *buffer, std::uint32_t size) = nullptr;
    std::int32_t (*password)(char *p, std::int32_t n, char *m, char *name) = nullptr;
    std::int32_t (*processed)(char *name, std::uint32_t size) = nullptr;
};

// Reports to the program during a call. To be used on the caller's thread only.
class CallbackReporter {
  public:
    // `quiet`: 0 sends all messages, 1 those about failures, 2 none.
    CallbackReporter(const Callbacks &callbacks, std::int32_t quiet)
        : m_callbacks(callbacks), m_quiet(quiet) {}

    // A message about a success.
    void report(const std::string &text);
    // A message about a failure.
    void warn(const std::string &text);
    // Repeats a message about a failure unless it was the last one: programs show the last one.
    void warnLast(const std::string &text);
    // Calls print without a text if the last call is 20 ms ago, so that the program can repaint its
    // windows. Cheap: to be called between all steps that may take a millisecond.
    void tick();
    // Reports an entry as done. False if the program cancels the call.
    bool processed(const std::string &path);
    // Asks for the password of an entry; none if the program declines. `prompt` is in the narrow
    // code page.
    std::optional<std::string> password(std::string prompt, const std::string &path);

  protected:
    void print(const std::string &text);

  private:
    using Clock = std::chrono::steady_clock;

    Callbacks m_callbacks;
    std::int32_t m_quiet;
    std::string m_lastText;
    Clock::time_point m_lastPrint = Clock::now();
};

} // namespace ziplib
