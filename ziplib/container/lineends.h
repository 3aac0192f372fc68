#pragma once

#include "ziplib/container/codec.h"

#include <cstddef>
#include <cstdint>

namespace ziplib {

// True for data that reads as text: no control characters but blanks, line ends and the like.
bool looksLikeText(const std::uint8_t *data, std::size_t size);

// Turns the line ends of a text that comes in pieces into those wanted.
class LineEnds {
  public:
    enum class Want { Lf, CrLf };

    explicit LineEnds(Want want) : m_want(want) {}

    // Room that `size` bytes need at most once they are converted.
    static std::size_t room(std::size_t size) { return size * 2 + 1; }
    // Converts into `out`, which has room(size) bytes. Returns how many it wrote.
    std::size_t convert(const std::uint8_t *data, std::size_t size, std::uint8_t *out);
    // What a last CR left behind: 0 or 1 byte.
    std::size_t finish(std::uint8_t *out);

  private:
    Want m_want;
    bool m_afterCr = false;
};

} // namespace ziplib
