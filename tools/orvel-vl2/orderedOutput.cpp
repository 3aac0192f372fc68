#include "tools/orvel-vl2/orderedOutput.h"

#include "tools/orvel-vl2/output.h"

namespace vl2 {

namespace {

constexpr std::size_t kBlock = 64U << 10;
constexpr std::size_t kMostHeld = 4U << 20;
// How often a thread that waits looks for an interrupt.
constexpr std::chrono::milliseconds kPeriod{20};

} // namespace

OrderedOutput::Part::~Part() {
    if (m_finished)
        return;
    const std::lock_guard lock(m_output.m_mutex);
    m_output.m_failed = true;
    m_output.m_changed.notify_all();
}

void OrderedOutput::Part::append(std::string_view text) {
    m_any = true;
    m_text += text;
    if (m_text.size() >= kBlock)
        m_output.write(m_number, m_text, false);
}

void OrderedOutput::Part::finish() {
    m_output.write(m_number, m_text, true);
    m_finished = true;
}

bool OrderedOutput::any() const {
    const std::lock_guard lock(m_mutex);
    return m_any;
}

bool OrderedOutput::hasFailed() const {
    const std::lock_guard lock(m_mutex);
    return m_failed;
}

// Takes the text: prints it, or keeps it for its turn. `last` if the part is finished.
void OrderedOutput::write(std::size_t number, std::string &text, bool last) {
    std::unique_lock lock(m_mutex);
    m_any = m_any || !text.empty();
    while (number != m_turn && m_held + text.size() > kMostHeld && !m_failed) {
        checkInterrupt();
        m_changed.wait_for(lock, kPeriod);
    }
    if (m_failed) {
        text.clear();
        return;
    }
    Waiting &waiting = m_waiting[number];
    m_held += text.size();
    waiting.text.append(text);
    waiting.finished = last;
    text.clear();
    printTurn();
}

// Prints what has its turn, and moves the turn on over all that is finished.
void OrderedOutput::printTurn() {
    for (auto first = m_waiting.begin(); first != m_waiting.end() && first->first == m_turn;
         first = m_waiting.begin()) {
        print(first->second.text);
        m_held -= first->second.text.size();
        first->second.text.clear();
        if (!first->second.finished)
            break;
        m_waiting.erase(first);
        ++m_turn;
        m_changed.notify_all();
    }
}

} // namespace vl2
