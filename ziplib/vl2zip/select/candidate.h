#pragma once

#include <cstddef>
#include <string_view>

namespace ziplib {

inline constexpr std::size_t kNoEntry = static_cast<std::size_t>(-1);

// A file or folder of the scan, and the entry that it stands for.
struct Candidate {
    std::size_t file = 0;         // index in the scan's files, or in its folders if `folder`
    std::size_t entry = kNoEntry; // index in the old central directory
    std::string_view path;        // in the archive; the scan owns the text
    bool folder = false;
};

} // namespace ziplib
