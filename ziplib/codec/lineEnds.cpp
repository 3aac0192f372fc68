#include "ziplib/codec/lineEnds.h"

#include <algorithm>

namespace ziplib {

bool looksLikeText(const std::uint8_t *data, std::size_t size) {
    // Without an early end, so that compilers turn it into vector instructions.
    std::uint8_t controls = 0;
    for (std::size_t i = 0; i < size; ++i) {
        const std::uint8_t c = data[i];
        const bool ordinary = c >= 0x20 && c != 0x7F;
        const bool blank = (c >= '\t' && c <= '\r') || c == 0x1A || c == 0x1B;
        controls |= ordinary || blank ? 0 : 1;
    }
    return controls == 0;
}

std::size_t LineEndConverter::convert(const std::uint8_t *data, std::size_t size,
                                      std::uint8_t *out) {
    if (m_want == LineEnds::Keep) {
        std::copy_n(data, size, out);
        return size;
    }
    std::uint8_t *to = out;
    for (std::size_t i = 0; i < size; ++i) {
        const std::uint8_t c = data[i];
        if (m_want == LineEnds::CrLf) {
            if (c == '\n' && !m_afterCr)
                *to++ = '\r';
            *to++ = c;
            m_afterCr = c == '\r';
            continue;
        }
        // A CR is held back until the next byte shows whether it is a line feed.
        if (m_afterCr && c != '\n')
            *to++ = '\r';
        m_afterCr = c == '\r';
        if (!m_afterCr)
            *to++ = c;
    }
    return static_cast<std::size_t>(to - out);
}

std::size_t LineEndConverter::finish(std::uint8_t *out) {
    if (m_want != LineEnds::Lf || !m_afterCr)
        return 0;
    m_afterCr = false;
    *out = '\r';
    return 1;
}

} // namespace ziplib
