#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ziplib {

bool isAscii(std::string_view text);

// True if the bytes are well-formed UTF-8: no overlong forms, no surrogates.
bool isUtf8(std::string_view text);

// Reads the code point at `at` and advances `at` past it. A byte that is not part of a well-formed
// one is returned as a value above those of Unicode.
char32_t nextCodePoint(std::string_view text, std::size_t &at);

void appendUtf8(std::string &text, char32_t c);

// Simple case folding, for comparison: Latin, Greek, Cyrillic, Armenian and full-width letters, one
// to one. Others stay.
char32_t foldCase(char32_t c);

// A text with all code points folded.
std::string foldCase(std::string_view text);

} // namespace ziplib
