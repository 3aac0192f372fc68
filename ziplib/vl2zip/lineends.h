#pragma once

#include "ziplib/vl2zip/buffer.h"

#include <cstddef>
#include <cstdint>

namespace ziplib {

enum class LineEnds { Keep, CrlfToLf, LfToCrlf };

// True where the beginning of a file looks like text: no byte that no text holds.
bool looksLikeText(const std::uint8_t *data, std::size_t size);

// Converts line ends of data that comes in pieces; a CR and its LF may be in different ones. A lone
// CR stays, and an LF that has its CR already gets no second one.
class LineEndConverter {
  public:
    explicit LineEndConverter(LineEnds mode) : m_mode(mode) {}

    // Appends what the piece becomes.
    void convert(const std::uint8_t *data, std::size_t size, Bytes &out);
    // Appends what was held back at the end of the last piece.
    void finish(Bytes &out);

  private:
    LineEnds m_mode;
    bool m_afterCr = false; // the last byte was a CR; towards LF it is still held back
};

} // namespace ziplib
