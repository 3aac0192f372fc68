#pragma once

#include <cstddef>
#include <cstdint>

namespace ziplib {

// The conversion of line ends.
enum class LineEnds { Keep, Lf, CrLf };

// True if the start of a file looks like text: no control characters except white space, line ends,
// SUB and ESC.
bool looksLikeText(const std::uint8_t *data, std::size_t size);

// Converts the line ends of a text in chunks; a CR and its LF may be in different ones. A lone CR
// stays, and the LF of a CR LF gets no second CR.
class LineEndConverter {
  public:
    explicit LineEndConverter(LineEnds want) : m_want(want) {}

    // The most bytes that `size` bytes become.
    static constexpr std::size_t room(std::size_t size) { return size * 2 + 1; }
    // Converts into `out`, which has room(size) bytes. Returns the number written.
    std::size_t convert(const std::uint8_t *data, std::size_t size, std::uint8_t *out);
    // Writes a last CR that was held back: 0 or 1 byte.
    std::size_t finish(std::uint8_t *out);

  private:
    LineEnds m_want;
    bool m_afterCr = false; // the last byte was a CR; for LF it is held back
};

} // namespace ziplib
