#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace vl2 {

// What `grep` searches lines for.
//
// PCRE2 backtracks, so that a pattern may take exponential time. Therefore each search is limited
// in steps (see linePattern.cpp): the time for a text grows no faster than its size, and a pattern
// that needs more is an error. The compiler that PCRE2 has for patterns is not used: it counts its
// steps differently.
class LinePattern {
  public:
    enum class Syntax { Regular, Fixed };
    enum class Case { Sensitive, Ignored };

    // Throws Failed if the pattern is wrong.
    LinePattern(const std::string &pattern, Syntax syntax, Case letters);
    ~LinePattern();
    LinePattern(const LinePattern &) = delete;
    LinePattern &operator=(const LinePattern &) = delete;

    // The memory of one search, for one thread at a time.
    class Search {
      public:
        explicit Search(const LinePattern &pattern);
        ~Search();
        Search(const Search &) = delete;
        Search &operator=(const Search &) = delete;

        // A position in the first line at or after `at`, the start of a line, that matches; npos if
        // there is none. The text is UTF-8, its lines end in LF or CR LF. Of lines of more than 64
        // KiB only the start is searched. Throws Failed if the pattern takes too many steps.
        std::size_t find(std::string_view text, std::size_t at);

      private:
        bool matches(std::string_view line);

        struct State;
        const LinePattern &m_pattern;
        std::unique_ptr<State> m_state;
    };

  private:
    struct Compiled;
    std::string m_plain; // the text that is searched for if it needs no pattern
    std::unique_ptr<Compiled> m_compiled;
};

} // namespace vl2
