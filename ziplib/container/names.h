#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ziplib {

// The path of an entry for the folder that the archive was made of.
inline constexpr std::string_view kRootFolder = "./";

// The UTF-8 path that raw name bytes stand for: UTF-8 where they are valid UTF-8 (flag bit 11 adds
// nothing to that: on other bytes it is a lie), code page 437 otherwise. "\" becomes "/", a NUL
// U+FFFD. A "./" in front, which some tools write before every name, is dropped, but for that of
// the folder "./" itself. Nothing else is mended.
std::string decodeName(std::string_view raw);

// Why a decoded path may not be written below a folder, or null where it may: it must be relative,
// have no empty, "." or ".." component, no drive, stream, control character or device name, no
// component that ends in a dot or a blank, none of the reserved temporary names, and at most 255
// bytes in a component and 3,000 in all. A "/" at the end (a folder) is allowed. One rule for every
// system, so that an archive gives the same files everywhere.
const char *unsafeReason(std::string_view path);

// The part after the last "/".
inline std::string_view lastComponent(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

} // namespace ziplib
