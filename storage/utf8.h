#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// UTF-8 text: validity, code points and case-insensitive comparison.
namespace platform {

bool isAscii(std::string_view text);

// The lower-case letter for an ASCII capital; any other character itself.
inline char foldAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// True if the bytes are well-formed UTF-8: no overlong forms, no surrogates.
bool isUtf8(std::string_view text);

// nextCodePoint adds this to a byte that is not part of a well-formed code point.
constexpr char32_t kMalformedByte = 0x110000;

// Reads the code point at `at` and advances `at` past it. A byte that is not part of a well-formed
// one is returned as a value above those of Unicode: the byte plus kMalformedByte.
char32_t nextCodePoint(std::string_view text, std::size_t &at);

void appendUtf8(std::string &text, char32_t c);

// Simple case folding, for comparison: Latin, Greek, Cyrillic, Armenian and full-width letters, one
// to one. Others stay.
char32_t foldCase(char32_t c);

// A text with all code points folded.
std::string foldCase(std::string_view text);

} // namespace platform
