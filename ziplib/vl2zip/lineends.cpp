#include "ziplib/vl2zip/lineends.h"

#include <algorithm>

namespace ziplib {

namespace {

constexpr std::uint8_t kCr = '\r';
constexpr std::uint8_t kLf = '\n';

} // namespace

bool looksLikeText(const std::uint8_t *data, std::size_t size) {
    return std::none_of(data, data + size, [](std::uint8_t byte) {
        const bool blank = (byte >= '\t' && byte <= '\r') || byte == 0x1a || byte == 0x1b;
        return byte < 0x20 && !blank;
    });
}

void LineEndConverter::convert(const std::uint8_t *data, std::size_t size, Bytes &out) {
    for (std::size_t i = 0; i < size; ++i) {
        const std::uint8_t byte = data[i];
        if (m_mode == LineEnds::CrlfToLf) {
            if (m_afterCr && byte != kLf) {
                out.push_back(kCr);
            }
            m_afterCr = byte == kCr;
            if (!m_afterCr) {
                out.push_back(byte);
            }
            continue;
        }
        if (m_mode == LineEnds::LfToCrlf && byte == kLf && !m_afterCr) {
            out.push_back(kCr);
        }
        m_afterCr = byte == kCr;
        out.push_back(byte);
    }
}

void LineEndConverter::finish(Bytes &out) {
    if (m_mode == LineEnds::CrlfToLf && m_afterCr) {
        out.push_back(kCr);
    }
    m_afterCr = false;
}

} // namespace ziplib
