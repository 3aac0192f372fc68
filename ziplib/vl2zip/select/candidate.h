#pragma once

#include "storage/storage.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ziplib {

inline constexpr std::uint32_t kNoEntry = UINT32_MAX;
inline constexpr std::uint32_t kNoVersion = UINT32_MAX; // in the base

// What the archive held for a file when it was extracted, or later.
struct BaseVersion {
    static constexpr std::uint64_t kUnknownSize = UINT64_MAX;

    std::uint64_t size = 0;
    std::uint32_t crc = 0;
    std::int32_t written = 0; // VL2ZIP_LISTED and the following
    // That file has `size` bytes, and every later change of it shows in its size and these.
    bool timesTell = false;
    std::uint64_t device = 0;
    std::uint64_t id = 0;
    std::int64_t modified = 0;
    std::int64_t changed = 0;

    bool isOf(std::uint64_t otherSize, std::uint32_t otherCrc) const {
        return crc == otherCrc && (size == otherSize || size == kUnknownSize);
    }
    // True if this is the information on the written file, and proves that it was not changed.
    bool proves(const platform::FileInfo &info) const {
        return timesTell && info.size == size && info.device == device && info.id == id &&
               info.modified == modified && info.changed == changed;
    }
};

// A file or folder of the scan, and the entry that it stands for. In little memory, like the files.
struct Candidate {
    std::uint32_t file = 0;         // index in the scan's files, or in its folders if `folder`
    std::uint32_t entry = kNoEntry; // index in the old central directory
    // With a base only: what it holds for the file; and whether the entry differs from that, so
    // that folder and archive have to be merged.
    std::uint32_t base = kNoVersion;
    std::uint32_t disputed : 1 = 0;
    std::uint32_t settled : 1 = 0; // the entry is the version that the user knows
    std::uint32_t folder : 1 = 0;
    // New, but the archive has a folder of its path or a file of that of one of its folders: no
    // reader could extract both.
    std::uint32_t obstructed : 1 = 0;
    std::uint32_t extras : 28 = 0; // see Scan::extrasOf(); their number from 1, 0 if there are none

    static constexpr std::uint32_t kMostExtras = (1U << 28U) - 1;
};

// What almost no candidate has.
struct CandidateExtras {
    std::string path; // in the archive, if not that of the file
    // The later version of the entry that the user knows.
    std::uint32_t known = kNoVersion;
    // Entries without a file in the folder whose paths differ from the file's in case only: on a
    // disk that ignores case, the file may be theirs.
    std::vector<std::uint32_t> twins;
};

} // namespace ziplib
