#pragma once

#include "storage/status.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// What the commands print, and the exit codes.
namespace vl2 {

enum class Exit {
    Fine = 0,
    Findings = 1,   // or differences, or nothing found
    Misuse = 2,     // of the command line
    BadArchive = 3, // damaged, or with features that are not supported
    System = 4,     // missing files, full disks, closed pipes, interruption
};

// The graver one.
Exit worse(Exit a, Exit b);
Exit exitOf(const platform::Status &status);

// Ends the command with a code and a message.
struct Failed : std::runtime_error {
    Failed(Exit exit, const std::string &message) : std::runtime_error(message), code(exit) {}
    explicit Failed(const platform::Status &status)
        : std::runtime_error(status.message), code(exitOf(status)) {}
    Exit code;
};

// JSON objects keep the order in which their members are added.
using Json = nlohmann::ordered_json;

// Standard output, in blocks, or in lines on a terminal. Throws Failed if it cannot be written.
void print(std::string_view text);
void printLine(std::string_view text);
// One object on a line of its own, so that a program can read while the command works.
void printJson(const Json &object);
void flushOutput();

// Makes the lines on standard error JSON objects too.
void complainInJson();
// A line on standard error; in JSON `member` holds the text.
void complain(std::string_view text, const char *member = "error");
// The same about files of a folder that are left out for their names; nothing if there are none.
void complainOmitted(const std::string &folder, const std::vector<std::string> &paths);

// " and 3 others"; "" for none.
std::string andOthers(std::size_t count);

// A text for terminals: control characters become "?".
enum class Tabs { Replaced, Kept };
std::string shown(std::string_view text, Tabs tabs = Tabs::Replaced);
void appendShown(std::string &out, std::string_view text, Tabs tabs = Tabs::Replaced);
// A line of such a text.
void printShown(std::string_view text);

// Colours, if standard output is a terminal and NO_COLOR is not set.
enum class Colour { Red = 31, Green = 32, Yellow = 33, Magenta = 35, Cyan = 36 };
std::string coloured(Colour colour, std::string_view text);
void appendColoured(std::string &out, Colour colour, std::string_view text);

// Throws Failed after an interrupt.
void checkInterrupt();

// The progress of long work in percent, on standard error if it is a terminal. One at a time.
class Progress {
  public:
    Progress(std::string what, std::uint64_t total);
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;
    void add(std::uint64_t done);

  private:
    std::string m_what;
    std::uint64_t m_total;
    std::uint64_t m_done = 0;
    bool m_enabled;
    std::chrono::steady_clock::time_point m_next;
};

} // namespace vl2
