#include "ziplib/common/callbackReporter.h"

#include "ziplib/common/interfaceText.h"

#include <array>

namespace ziplib {

namespace {

// Well below the 50 ms of the interface, so that a longer step does not exceed them.
constexpr std::chrono::milliseconds kHeartbeat{20};

} // namespace

void CallbackReporter::print(const std::string &text) {
    if (m_callbacks.print != nullptr) {
        std::string narrow = messageToProgram(text);
        m_callbacks.print(narrow.data(), static_cast<std::uint32_t>(narrow.size()));
    }
    m_lastPrint = Clock::now();
}

void CallbackReporter::report(const std::string &text) {
    if (m_quiet <= 0) {
        m_lastText.clear();
        print(text);
    }
}

void CallbackReporter::warn(const std::string &text) {
    if (m_quiet <= 1) {
        m_lastText = text;
        print(text);
    }
}

void CallbackReporter::warnLast(const std::string &text) {
    if (!text.empty() && text != m_lastText)
        warn(text);
}

void CallbackReporter::tick() {
    if (Clock::now() - m_lastPrint >= kHeartbeat)
        print({});
}

bool CallbackReporter::processed(const std::string &path) {
    if (m_callbacks.processed == nullptr)
        return true;
    std::string narrow = toProgram(path);
    return m_callbacks.processed(narrow.data(), static_cast<std::uint32_t>(narrow.size() + 1)) == 0;
}

std::optional<std::string> CallbackReporter::password(std::string prompt, const std::string &path) {
    if (m_callbacks.password == nullptr)
        return std::nullopt;
    std::array<char, 256> buffer{};
    std::string name = toProgram(path);
    const auto declined = m_callbacks.password(
        buffer.data(), static_cast<std::int32_t>(buffer.size()), prompt.data(), name.data());
    buffer.back() = '\0';
    std::string password(buffer.data());
    buffer.fill('\0');
    if (declined != 0)
        return std::nullopt;
    return password;
}

} // namespace ziplib
