#pragma once

#include "storage/safePath.h"

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

// Why a decoded path may not be written below a folder.
using platform::unsafeReason;

// The part after the last "/".
inline std::string_view lastComponent(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

} // namespace ziplib
