#pragma once

#include "storage/safePath.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace ziplib {

// The path of an entry for the root folder itself.
inline constexpr std::string_view kRootFolder = "./";

// Decodes the raw bytes of a name to a UTF-8 path: as UTF-8 if they are valid UTF-8 (whatever bit
// 11 of the general purpose flag says), otherwise as code page 437. "\" becomes "/", a NUL U+FFFD.
// A leading "./", which some tools write before every name, is dropped, except in "./" itself.
std::string decodeName(std::string_view raw);

// The reason why a decoded path may not be written below a folder; null if it may.
using platform::unsafeReason;

// The part after the last "/".
inline std::string_view lastComponent(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

// The part before the last "/"; "" if there is none.
inline std::string_view folderOf(std::string_view path) {
    return path.substr(0, path.rfind('/') == std::string_view::npos ? 0 : path.rfind('/'));
}

} // namespace ziplib
