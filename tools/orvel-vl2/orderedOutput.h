#pragma once

#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace vl2 {

// Standard output that several threads write to, in parts by number from 0. Items must be started
// in the order of their numbers. The first part that is not finished is written as it comes; later
// ones wait in memory up to a limit, and then their threads wait.
class OrderedOutput {
  public:
    // The output of one item.
    class Part {
      public:
        Part(OrderedOutput &output, std::size_t number) : m_output(output), m_number(number) {}
        // Without finish(), after an exception, the other parts fail too.
        ~Part();
        Part(const Part &) = delete;
        Part &operator=(const Part &) = delete;

        // Throws Failed if standard output cannot be written, or after an interrupt.
        void append(std::string_view text);
        // To be called after the last append(), which it is like.
        void finish();
        bool any() const { return m_any; }
        // Whether any part could not be written: the rest is of no use.
        bool hasFailed() const { return m_output.hasFailed(); }

      private:
        OrderedOutput &m_output;
        const std::size_t m_number;
        std::string m_text; // not passed on yet
        bool m_any = false;
        bool m_finished = false;
    };

    bool any() const;
    bool hasFailed() const;

  private:
    void write(std::size_t number, std::string &text, bool last);
    void printTurn();

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    struct Waiting {
        std::string text;
        bool finished = false;
    };
    std::map<std::size_t, Waiting> m_waiting;
    std::size_t m_turn = 0; // the first part that is not finished
    std::size_t m_held = 0; // bytes in m_waiting
    bool m_any = false;
    bool m_failed = false;
};

} // namespace vl2
