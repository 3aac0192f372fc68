#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

// Numbers in a record: little-endian, and in as few bytes as they need.
namespace platform {

// The number of bytes with which both texts begin.
inline std::size_t sharedLength(std::string_view a, std::string_view b) {
    return static_cast<std::size_t>(std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first -
                                    a.begin());
}

class RecordWriter {
  public:
    RecordWriter() = default;
    // Continues after these bytes.
    explicit RecordWriter(std::string bytes) : m_bytes(std::move(bytes)) {}

    void fixed(std::uint64_t value, int bytes) {
        std::array<char, 8> digits;
        for (std::size_t i = 0; i < digits.size(); ++i)
            digits[i] = static_cast<char>(value >> (8U * i));
        m_bytes.append(digits.data(), static_cast<std::size_t>(bytes));
    }
    // Seven bits a byte; the highest bit marks that more follow.
    void number(std::uint64_t value) {
        std::array<char, 10> digits; // NOLINT(*-member-init): filled as far as it is used
        std::size_t count = 0;
        for (; value >= 0x80U; value >>= 7U)
            digits[count++] = static_cast<char>(value | 0x80U);
        digits[count++] = static_cast<char>(value);
        m_bytes.append(digits.data(), count);
    }
    // The difference to `before`, which is small for similar numbers of either sign.
    void step(std::uint64_t value, std::uint64_t before) {
        const std::uint64_t difference = value - before;
        const std::uint64_t sign = (difference >> 63U) != 0 ? ~std::uint64_t{0} : 0;
        number((difference << 1U) ^ sign);
    }
    void text(std::string_view bytes) { m_bytes.append(bytes); }
    void reserve(std::size_t bytes) { m_bytes.reserve(bytes); }
    // Removes the bytes from `size` on.
    void truncate(std::size_t size) { m_bytes.resize(size); }
    const std::string &bytes() const { return m_bytes; }

  private:
    std::string m_bytes;
};

// Reads what RecordWriter wrote. A read beyond the end returns zeros and sets `failed`.
class RecordReader {
  public:
    explicit RecordReader(std::string_view bytes) : m_bytes(bytes) {}

    std::uint64_t fixed(int bytes) {
        std::uint64_t value = 0;
        const std::string_view digits = text(static_cast<std::uint64_t>(bytes));
        for (std::size_t i = digits.size(); i-- > 0;)
            value = value << 8U | static_cast<unsigned char>(digits[i]);
        return value;
    }
    std::uint64_t number() {
        std::uint64_t value = 0;
        for (unsigned shift = 0; shift < 64U && m_at < m_bytes.size(); shift += 7U) {
            const std::uint64_t byte = static_cast<unsigned char>(m_bytes[m_at++]);
            value |= (byte & 0x7FU) << shift;
            if ((byte & 0x80U) == 0)
                return value;
        }
        m_failed = true;
        return 0;
    }
    std::uint64_t step(std::uint64_t before) {
        const std::uint64_t coded = number();
        return before + ((coded >> 1U) ^ (0U - (coded & 1U)));
    }
    std::string_view text(std::uint64_t size) {
        if (size > m_bytes.size() - m_at) {
            m_failed = true;
            return {};
        }
        const std::string_view found = m_bytes.substr(m_at, static_cast<std::size_t>(size));
        m_at += found.size();
        return found;
    }
    std::size_t at() const { return m_at; }
    bool atEnd() const { return m_at == m_bytes.size(); }
    bool failed() const { return m_failed; }

  private:
    std::string_view m_bytes;
    std::size_t m_at = 0;
    bool m_failed = false;
};

} // namespace platform
