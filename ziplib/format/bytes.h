#pragma once

#include <cstdint>

// Little-endian numbers in memory, at any alignment.
namespace ziplib {

inline std::uint16_t get16(const std::uint8_t *p) {
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

inline std::uint32_t get32(const std::uint8_t *p) {
    return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
           (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

inline std::uint64_t get64(const std::uint8_t *p) {
    return get32(p) | (static_cast<std::uint64_t>(get32(p + 4)) << 32);
}

inline void put16(std::uint8_t *p, std::uint16_t value) {
    p[0] = static_cast<std::uint8_t>(value);
    p[1] = static_cast<std::uint8_t>(value >> 8);
}

inline void put32(std::uint8_t *p, std::uint32_t value) {
    put16(p, static_cast<std::uint16_t>(value));
    put16(p + 2, static_cast<std::uint16_t>(value >> 16));
}

inline void put64(std::uint8_t *p, std::uint64_t value) {
    put32(p, static_cast<std::uint32_t>(value));
    put32(p + 4, static_cast<std::uint32_t>(value >> 32));
}

} // namespace ziplib
