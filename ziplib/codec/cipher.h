#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ziplib {

// The traditional PKWARE stream cipher. Weak: for compatibility with existing archives only.
class Cipher {
  public:
    // Size of the encryption header, before the data.
    static constexpr std::size_t kHeaderSize = 12;

    explicit Cipher(std::string_view password);

    void decrypt(std::uint8_t *data, std::size_t size);
    void encrypt(std::uint8_t *data, std::size_t size);

  private:
    std::uint8_t keyByte() const;
    void feed(std::uint8_t plain);

    std::array<std::uint32_t, 3> m_keys;
};

} // namespace ziplib
