#include "ziplib/vl2zip/report.h"

#include "ziplib/common/interfaceText.h"

#include <array>

namespace ziplib {

namespace {

// Half of what callers are promised, so that one late call is still in time.
constexpr std::chrono::milliseconds kIdlePeriod{25};

} // namespace

Report::Report(const ZIPUSERFUNCTIONS &callbacks, VL2ZIP_PACKED onPacked, bool verbose, bool quiet)
    : m_callbacks(callbacks), m_packed(onPacked), m_verbose(verbose), m_quiet(quiet),
      m_lastCall(std::chrono::steady_clock::now()) {}

void Report::print(const std::string &text) {
    m_lastCall = std::chrono::steady_clock::now();
    if (m_callbacks.print != nullptr) {
        std::string narrow = messageToProgram(text);
        m_callbacks.print(narrow.data(), static_cast<std::uint32_t>(narrow.size()));
    }
}

void Report::say(const std::string &text) {
    if (!m_quiet)
        print(text);
}

void Report::detail(std::string_view what, std::string_view more) {
    if (m_verbose)
        print(std::string(what).append(more));
}

std::int32_t Report::end(const Outcome &outcome) {
    for (const auto &warning : m_warnings)
        print(warning);
    if (!outcome.ok()) {
        print(outcome.text());
        return static_cast<std::int32_t>(outcome.code());
    }
    return static_cast<std::int32_t>(warned() ? ReturnCode::Warnings : ReturnCode::Done);
}

void Report::idle() {
    const auto now = std::chrono::steady_clock::now();
    if (now - m_lastCall < kIdlePeriod)
        return;
    m_lastCall = now;
    if (m_callbacks.print != nullptr) {
        char nothing = '\0';
        m_callbacks.print(&nothing, 0);
    }
}

bool Report::done(const std::string &name) {
    idle();
    if (m_callbacks.ServiceApplication == nullptr)
        return true;
    std::string narrow = toProgram(name);
    return m_callbacks.ServiceApplication(narrow.data(),
                                          static_cast<std::uint32_t>(narrow.size() + 1)) == 0;
}

void Report::packed(const ZPPACKED &file) {
    idle();
    m_packed(&file);
}

std::optional<std::string> Report::password(const std::string &name) {
    if (m_callbacks.password == nullptr)
        return std::nullopt;
    std::array<char, 256> buffer{};
    std::string prompt = "Enter password: ";
    std::string narrow = toProgram(name);
    const auto answer = m_callbacks.password(
        buffer.data(), static_cast<std::int32_t>(buffer.size()), prompt.data(), narrow.data());
    buffer.back() = '\0';
    std::string password(buffer.data());
    buffer.fill('\0');
    if (answer != 0 || password.empty())
        return std::nullopt;
    return password;
}

} // namespace ziplib
