#include "storage/utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace platform {

namespace {

// Length of the well-formed code point at `at`, and its value; 0 if there is none.
std::size_t decode(std::string_view text, std::size_t at, char32_t &value) {
    const auto byte = [&](std::size_t i) {
        return static_cast<std::uint8_t>(at + i < text.size() ? text[at + i] : 0);
    };
    const std::uint8_t first = byte(0);
    if (first < 0x80) {
        value = first;
        return 1;
    }
    const std::size_t length = first >= 0xF0 ? 4 : (first >= 0xE0 ? 3 : 2);
    if (first < 0xC2 || first > 0xF4)
        return 0;
    value = first & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
        value = (value << 6) | (byte(i) & 0x3FU);
    }
    constexpr std::array<char32_t, 5> kLeast = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
    return value < kLeast[length] || value > 0x10FFFF || surrogate ? 0 : length;
}

struct Range {
    char32_t first;
    char32_t last;
    std::int32_t distance; // to the lower-case letter; 0 if capital and small letters alternate
    bool capitalsEven;
};

constexpr std::array<Range, 25> kCapitals = {{
    {0xC0, 0xD6, 32, false},     {0xD8, 0xDE, 32, false},   {0x100, 0x12F, 0, true},
    {0x132, 0x137, 0, true},     {0x139, 0x148, 0, false},  {0x14A, 0x177, 0, true},
    {0x178, 0x178, -121, false}, {0x179, 0x17E, 0, false},  {0x1CD, 0x1DC, 0, false},
    {0x1DE, 0x1EF, 0, true},     {0x1F8, 0x21F, 0, true},   {0x222, 0x233, 0, true},
    {0x386, 0x386, 38, false},   {0x388, 0x38A, 37, false}, {0x38C, 0x38C, 64, false},
    {0x38E, 0x38F, 63, false},   {0x391, 0x3A1, 32, false}, {0x3A3, 0x3AB, 32, false},
    {0x400, 0x40F, 80, false},   {0x410, 0x42F, 32, false}, {0x460, 0x481, 0, true},
    {0x48A, 0x4BF, 0, true},     {0x531, 0x556, 48, false}, {0x1E00, 0x1E95, 0, true},
    {0xFF21, 0xFF3A, 32, false},
}};

} // namespace

bool isAscii(std::string_view text) {
    // In blocks without a branch, which compilers turn into vector instructions.
    constexpr std::size_t kBlock = 32;
    unsigned bits = 0;
    std::size_t at = 0;
    for (; at + kBlock <= text.size() && bits < 0x80; at += kBlock)
        for (std::size_t i = 0; i < kBlock; ++i)
            bits |= static_cast<std::uint8_t>(text[at + i]);
    for (; at < text.size(); ++at)
        bits |= static_cast<std::uint8_t>(text[at]);
    return bits < 0x80;
}

bool isUtf8(std::string_view text) {
    if (isAscii(text)) // most names
        return true;
    char32_t value = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = decode(text, at, value);
        if (length == 0)
            return false;
        at += length;
    }
    return true;
}

char32_t nextCodePoint(std::string_view text, std::size_t &at) {
    char32_t value = 0;
    const std::size_t length = decode(text, at, value);
    if (length == 0)
        return kMalformedByte + static_cast<std::uint8_t>(text[at++]);
    at += length;
    return value;
}

void appendUtf8(std::string &text, char32_t c) {
    const auto tail = [&](unsigned shift) {
        return static_cast<char>(0x80 | ((c >> shift) & 0x3F));
    };
    if (c < 0x80)
        text += static_cast<char>(c);
    else if (c < 0x800)
        text += {static_cast<char>(0xC0 | (c >> 6)), tail(0)};
    else if (c < 0x10000)
        text += {static_cast<char>(0xE0 | (c >> 12)), tail(6), tail(0)};
    else
        text += {static_cast<char>(0xF0 | (c >> 18)), tail(12), tail(6), tail(0)};
}

char32_t foldCase(char32_t c) {
    if (c < 0x80)
        return c >= 'A' && c <= 'Z' ? c + 32 : c;
    const auto *range = std::find_if(kCapitals.begin(), kCapitals.end(),
                                     [c](const Range &r) { return c >= r.first && c <= r.last; });
    if (range == kCapitals.end())
        return c;
    if (range->distance != 0)
        return static_cast<char32_t>(static_cast<std::int32_t>(c) + range->distance);
    return (c % 2 == 0) == range->capitalsEven ? c + 1 : c;
}

std::string foldCase(std::string_view text) {
    std::string folded;
    if (isAscii(text)) {
        folded = text;
        std::transform(folded.begin(), folded.end(), folded.begin(), foldAscii);
        return folded;
    }
    folded.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t start = at;
        const char32_t c = nextCodePoint(text, at);
        if (c >= kMalformedByte)
            folded += text[start];
        else
            appendUtf8(folded, foldCase(c));
    }
    return folded;
}

} // namespace platform
