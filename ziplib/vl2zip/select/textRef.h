#pragma once

#include "ziplib/format/bytes.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ziplib {

// A text in a buffer, with its length in the four bytes before it: half as large as a string_view.
class TextRef {
  public:
    static constexpr int kHead = 4; // bytes before the text

    TextRef() = default;
    // What write() has written there.
    explicit TextRef(const char *at) : m_at(at) {}

    // Writes both parts of a text at `at`, which needs kHead bytes more. Returns the end.
    static char *write(char *at, std::string_view first, std::string_view second = {}) {
        put32(reinterpret_cast<std::uint8_t *>(at),
              static_cast<std::uint32_t>(first.size() + second.size()));
        at += kHead;
        at += first.copy(at, first.size());
        return at + second.copy(at, second.size());
    }

    operator std::string_view() const {
        if (m_at == nullptr)
            return {};
        return {m_at + kHead, get32(reinterpret_cast<const std::uint8_t *>(m_at))};
    }

  private:
    const char *m_at = nullptr;
};

} // namespace ziplib
