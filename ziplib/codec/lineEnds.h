#pragma once

#include <cstddef>
#include <cstdint>

namespace ziplib {

// What becomes of the line ends of a text.
enum class LineEnds { Keep, Lf, CrLf };

// True where the beginning of a file reads as text: no control characters but blanks, line ends and
// the few that texts hold, so that no other file is taken for one.
bool looksLikeText(const std::uint8_t *data, std::size_t size);

// Converts the line ends of a text that comes in pieces; a CR and its LF may be in different ones.
// A lone CR stays, and an LF that has its CR gets no second one.
class LineEndConverter {
  public:
    explicit LineEndConverter(LineEnds want) : m_want(want) {}

    // Room that `size` bytes need at most once they are converted.
    static constexpr std::size_t room(std::size_t size) { return size * 2 + 1; }
    // Converts into `out`, which has room(size) bytes. Returns how many it wrote.
    std::size_t convert(const std::uint8_t *data, std::size_t size, std::uint8_t *out);
    // What a last CR left behind: 0 or 1 byte.
    std::size_t finish(std::uint8_t *out);

  private:
    LineEnds m_want;
    bool m_afterCr = false; // the last byte was a CR; towards LF it is still held back
};

} // namespace ziplib
