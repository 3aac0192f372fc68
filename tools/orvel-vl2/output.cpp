#include "tools/orvel-vl2/output.h"

#include "tools/orvel-vl2/console.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vl2 {

namespace {

using platform::Failure;

constexpr std::chrono::milliseconds kProgressPeriod{200};
// Erases the line of the progress.
constexpr char kEraseLine[] = "\r\033[K";

bool progressShown = false;
bool complainsInJson = false;

void eraseProgress() {
    if (progressShown)
        std::fputs(kEraseLine, stderr);
    progressShown = false;
}

bool wantsColours() {
    static const bool wanted = [] {
        const char *off = std::getenv("NO_COLOR");
        const char *terminal = std::getenv("TERM");
        return (off == nullptr || *off == '\0') &&
               (terminal == nullptr || std::strcmp(terminal, "dumb") != 0) && isTerminal(stdout);
    }();
    return wanted;
}

// What is printed but not yet written.
std::string pending;
constexpr std::size_t kBlock = 64U << 10;

void writePending() {
    const bool written = std::fwrite(pending.data(), 1, pending.size(), stdout) == pending.size();
    pending.clear();
    if (!written)
        throw Failed(Exit::System, std::string("standard output: ") + std::strerror(errno));
}

void endLine() {
    static const bool atOnce = isTerminal(stdout);
    pending += '\n';
    if (atOnce || pending.size() >= kBlock)
        writePending();
}

std::string lineOf(const Json &object) {
    // Names on POSIX disks may be no valid text.
    return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace

Exit worse(Exit a, Exit b) {
    return std::max(a, b);
}

Exit exitOf(const platform::Status &status) {
    switch (status.kind) {
    case Failure::None:
    case Failure::NothingToDo:
        return Exit::Fine;
    case Failure::NothingMatched:
        return Exit::Findings;
    case Failure::WrongFormat:
    case Failure::EndsEarly:
    case Failure::Damaged:
    case Failure::Unsupported:
    case Failure::Password:
    case Failure::Unsafe:
        return Exit::BadArchive;
    default:
        return Exit::System;
    }
}

void print(std::string_view text) {
    pending += text;
    if (pending.size() >= kBlock)
        writePending();
}

void printLine(std::string_view text) {
    pending += text;
    endLine();
}

void printShown(std::string_view text) {
    appendShown(pending, text);
    endLine();
}

void printJson(const Json &object) {
    printLine(lineOf(object));
}

void flushOutput() {
    writePending();
}

void complainInJson() {
    complainsInJson = true;
}

void complain(std::string_view text, const char *member) {
    eraseProgress();
    const std::string line =
        complainsInJson ? lineOf(Json{{member, text}}) : "orvel-vl2: " + shown(text);
    std::fprintf(stderr, "%s\n", line.c_str());
}

std::string andOthers(std::size_t count) {
    return count == 0   ? ""
           : count == 1 ? " and another"
                        : " and " + std::to_string(count) + " others";
}

void complainOmitted(const std::string &folder, const std::vector<std::string> &paths) {
    if (!paths.empty())
        complain(folder + ": omitted: " + paths[0] + andOthers(paths.size() - 1), "note");
}

void appendShown(std::string &out, std::string_view text, Tabs tabs) {
    const auto isPlain = [&](unsigned char c) {
        return (c >= 0x20 && c < 0x7F) || (c == '\t' && tabs == Tabs::Kept);
    };
    if (std::all_of(text.begin(), text.end(), isPlain)) {
        out += text;
        return;
    }
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        // The control characters from U+0080 to U+009F have two bytes.
        const bool upper =
            byte == 0xC2 && at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) < 0xA0;
        at += upper ? 1 : 0;
        out += upper || (byte < 0x80 && !isPlain(byte)) ? '?' : text[at];
    }
}

std::string shown(std::string_view text, Tabs tabs) {
    std::string safe;
    appendShown(safe, text, tabs);
    return safe;
}

void appendColoured(std::string &out, Colour colour, std::string_view text) {
    if (!wantsColours()) {
        out += text;
        return;
    }
    out.append("\033[").append(std::to_string(static_cast<int>(colour))).append("m");
    out.append(text).append("\033[0m");
}

std::string coloured(Colour colour, std::string_view text) {
    std::string out;
    appendColoured(out, colour, text);
    return out;
}

void checkInterrupt() {
    if (interrupted())
        throw Failed(Exit::System, "interrupted");
}

Progress::Progress(std::string what, std::uint64_t total)
    : m_what(std::move(what)), m_total(std::max<std::uint64_t>(total, 1)),
      m_enabled(isTerminal(stderr)), m_next(std::chrono::steady_clock::now() + kProgressPeriod) {}

Progress::~Progress() {
    eraseProgress();
}

void Progress::add(std::uint64_t done) {
    m_done += done;
    if (!m_enabled || std::chrono::steady_clock::now() < m_next)
        return;
    m_next = std::chrono::steady_clock::now() + kProgressPeriod;
    const double share = static_cast<double>(m_done) / static_cast<double>(m_total);
    std::fprintf(stderr, "%s%s: %d %%", kEraseLine, shown(m_what).c_str(),
                 static_cast<int>(std::min(share, 1.0) * 100));
    std::fflush(stderr);
    progressShown = true;
}

} // namespace vl2
