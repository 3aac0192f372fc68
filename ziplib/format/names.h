#pragma once

#include "storage/pathText.h"
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

using platform::folderOf;
using platform::lastComponent;

} // namespace ziplib
