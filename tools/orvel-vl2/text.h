#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Texts of the game: Windows-1252 or UTF-8, lines that end in LF or CR LF.
namespace vl2 {

// True for the names of pictures, sounds, models and other files that are never text.
bool isBinaryName(std::string_view path);
// True for scripts, missions and other files that the game reads as text.
bool isTextName(std::string_view path);

bool looksLikeText(std::string_view content);

// The text as UTF-8 without a byte order mark: bytes that are no valid UTF-8 are Windows-1252.
std::string toUtf8(std::string_view text);

// The lines with their ends, which the last one may lack.
std::vector<std::string_view> linesOf(std::string_view text);

} // namespace vl2
