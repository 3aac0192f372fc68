#include "ziplib/codec/cipher.h"

namespace ziplib {

namespace {

constexpr std::array<std::uint32_t, 256> makeCrcTable() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < 256; ++i) {
        std::uint32_t value = i;
        for (int bit = 0; bit < 8; ++bit)
            value = (value & 1U) != 0 ? (value >> 1) ^ 0xEDB88320U : value >> 1;
        table[i] = value;
    }
    return table;
}

constexpr std::array<std::uint32_t, 256> kCrcTable = makeCrcTable();

std::uint32_t crcStep(std::uint32_t crc, std::uint8_t byte) {
    return kCrcTable[(crc ^ byte) & 0xFFU] ^ (crc >> 8);
}

} // namespace

Cipher::Cipher(std::string_view password) : m_keys{0x12345678U, 0x23456789U, 0x34567890U} {
    for (const char c : password)
        feed(static_cast<std::uint8_t>(c));
}

std::uint8_t Cipher::keyByte() const {
    const std::uint32_t t = (m_keys[2] & 0xFFFFU) | 2U;
    return static_cast<std::uint8_t>((t * (t ^ 1U)) >> 8);
}

void Cipher::feed(std::uint8_t plain) {
    m_keys[0] = crcStep(m_keys[0], plain);
    m_keys[1] = (m_keys[1] + (m_keys[0] & 0xFFU)) * 134775813U + 1U;
    m_keys[2] = crcStep(m_keys[2], static_cast<std::uint8_t>(m_keys[1] >> 24));
}

void Cipher::decrypt(std::uint8_t *data, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        data[i] ^= keyByte();
        feed(data[i]);
    }
}

void Cipher::encrypt(std::uint8_t *data, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        const std::uint8_t plain = data[i];
        data[i] ^= keyByte();
        feed(plain);
    }
}

} // namespace ziplib
