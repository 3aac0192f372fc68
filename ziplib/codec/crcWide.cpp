#include "ziplib/codec/codec.h"

#include <immintrin.h>
#include <libdeflate.h>

namespace ziplib {

namespace {

// Bytes of a 512-bit register, and of a round over four of them.
constexpr std::size_t kWide = 64;
constexpr std::size_t kRound = 4 * kWide;
// Below this size, the final steps cost more than wide registers save.
constexpr std::size_t kLeast = 2 * kRound;

#define ORVEL_WIDE __attribute__((target("avx512f,vpclmulqdq,pclmul")))

// x to the power of `exponent`, modulo the polynomial of the CRC; the highest bit is x to the 0.
constexpr std::uint32_t power(unsigned exponent) {
    std::uint32_t value = 0x80000000U;
    for (; exponent > 0; --exponent)
        value = (value >> 1U) ^ ((value & 1U) != 0 ? 0xEDB88320U : 0U);
    return value;
}

// The factors by which the two halves of 16 bytes are multiplied to move them on by `bits` bits. A
// product of bit-reflected values is one bit too high.
struct Factors {
    explicit constexpr Factors(unsigned bits)
        : early(std::uint64_t{power(bits + 63)} << 32U),
          late(std::uint64_t{power(bits - 1)} << 32U) {}

    std::uint64_t early;
    std::uint64_t late;
};

constexpr Factors kByRound(kRound * 8);
constexpr Factors kByWide(kWide * 8);
constexpr Factors kByLane(128);

ORVEL_WIDE inline __m512i wide(const Factors &factors) {
    const auto early = static_cast<long long>(factors.early);
    const auto late = static_cast<long long>(factors.late);
    return _mm512_set4_epi64(late, early, late, early);
}

ORVEL_WIDE inline __m512i load(const std::uint8_t *data) {
    return _mm512_loadu_si512(data);
}

// Moves `sum` on and adds it to `next`.
ORVEL_WIDE inline __m512i fold(__m512i sum, __m512i factors, __m512i next) {
    constexpr int kAddAll = 0x96; // the exclusive or of three
    return _mm512_ternarylogic_epi64(_mm512_clmulepi64_epi128(sum, factors, 0x00),
                                     _mm512_clmulepi64_epi128(sum, factors, 0x11), next, kAddAll);
}

ORVEL_WIDE inline __m128i fold(__m128i sum, __m128i factors, __m128i next) {
    return _mm_xor_si128(_mm_xor_si128(_mm_clmulepi64_si128(sum, factors, 0x00),
                                       _mm_clmulepi64_si128(sum, factors, 0x11)),
                         next);
}

// Reduces all data to 16 bytes that have the same CRC.
ORVEL_WIDE std::uint32_t wideCrc(std::uint32_t crc, const std::uint8_t *data, std::size_t size) {
    const __m512i byRound = wide(kByRound);
    const __m512i byWide = wide(kByWide);
    const __m128i byLane =
        _mm_set_epi64x(static_cast<long long>(kByLane.late), static_cast<long long>(kByLane.early));
    const __m512i before = _mm512_set_epi64(0, 0, 0, 0, 0, 0, 0, ~crc);
    __m512i a = _mm512_xor_si512(load(data), before);
    __m512i b = load(data + kWide);
    __m512i c = load(data + 2 * kWide);
    __m512i d = load(data + 3 * kWide);
    data += kRound;
    size -= kRound;
    for (; size >= kRound; data += kRound, size -= kRound) {
        a = fold(a, byRound, load(data));
        b = fold(b, byRound, load(data + kWide));
        c = fold(c, byRound, load(data + 2 * kWide));
        d = fold(d, byRound, load(data + 3 * kWide));
    }
    d = fold(fold(fold(a, byWide, b), byWide, c), byWide, d);
    for (; size >= kWide; data += kWide, size -= kWide)
        d = fold(d, byWide, load(data));
    alignas(kWide) std::uint8_t lanes[kWide];
    _mm512_store_si512(lanes, d);
    const auto *lane = reinterpret_cast<const __m128i *>(lanes);
    __m128i sum = lane[0];
    for (int i = 1; i < 4; ++i)
        sum = fold(sum, byLane, lane[i]);
    _mm_store_si128(reinterpret_cast<__m128i *>(lanes), sum);
    // The initial CRC is part of the sum, so the register starts at 0, the complement of this
    // argument.
    return libdeflate_crc32(libdeflate_crc32(0xFFFFFFFFU, lanes, sizeof sum), data, size);
}

bool isWide() {
    static const bool wide =
        __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("vpclmulqdq") != 0;
    return wide;
}

} // namespace

// Four times as fast as libdeflate, which uses registers of 16 bytes.
std::uint32_t crc32(std::uint32_t crc, const void *data, std::size_t size) {
    return size >= kLeast && isWide() ? wideCrc(crc, static_cast<const std::uint8_t *>(data), size)
                                      : libdeflate_crc32(crc, data, size);
}

} // namespace ziplib
