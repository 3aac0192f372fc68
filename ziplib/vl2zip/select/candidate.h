#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace ziplib {

inline constexpr std::size_t kNoEntry = static_cast<std::size_t>(-1);

// What the archive held for a file when it was extracted, or later.
struct BaseVersion {
    static constexpr std::uint64_t kUnknownSize = UINT64_MAX;

    std::uint64_t size = 0;
    std::uint32_t crc = 0;
    std::int32_t written = 0; // VL2ZIP_LISTED and the following

    bool isOf(std::uint64_t otherSize, std::uint32_t otherCrc) const {
        return crc == otherCrc && (size == otherSize || size == kUnknownSize);
    }
};

// A file or folder of the scan, and the entry that it stands for.
struct Candidate {
    std::size_t file = 0;         // index in the scan's files, or in its folders if `folder`
    std::size_t entry = kNoEntry; // index in the old central directory
    std::string_view path;        // in the archive; the scan or the base owns the text
    // With a base only: what it holds for the file (the base owns it), or null; and whether the
    // entry differs from that, so that folder and archive have to be merged.
    const BaseVersion *base = nullptr;
    bool disputed = false;
    // The later version of the entry that the user knows, or null; and whether the entry is that.
    const BaseVersion *known = nullptr;
    bool settled = false;
    bool folder = false;
    // New, but the archive has a folder of its path or a file of that of one of its folders: no
    // reader could extract both.
    bool obstructed = false;
    // Entries without a file in the folder whose paths differ from the file's in case only: on a
    // disk that ignores case, the file may be theirs.
    std::vector<std::size_t> twins;
};

} // namespace ziplib
