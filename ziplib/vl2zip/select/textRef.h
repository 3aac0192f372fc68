#pragma once

#include "ziplib/format/bytes.h"
#include "ziplib/format/records.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ziplib {

// A text in a buffer, half as large as a string_view: one that follows its length of four bytes, or
// the name in a record of a central directory. No text is as long as the record's signature would
// be as a length, 33 MB.
class TextRef {
  public:
    static constexpr int kHead = 4; // bytes before the text

    TextRef() = default;
    // What write() has written there, or a record.
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
        const auto *bytes = reinterpret_cast<const std::uint8_t *>(m_at);
        const std::uint32_t size = get32(bytes);
        if (size != kCentralSignature)
            return {m_at + kHead, size};
        return {m_at + kCentralSize, get16(bytes + kCentralCommon + commonField::kNameLength)};
    }

  private:
    const char *m_at = nullptr;
};

} // namespace ziplib
