#pragma once

#include "platform/packedFiles.h"
#include "storage/storage.h"

#include <cstdint>
#include <string>

// An entry as an archive holds or held it.
struct EntryVersion {
    std::string path; // UTF-8, "/" between the folders
    std::uint64_t size = 0;
    std::uint32_t crc = 0;
    bool written = false; // whether the extraction wrote its file
    // With `written`: the file is the user's, and a save has packed it.
    bool edited = false;
    // Not extracted: the user has been told of it.
    bool known = false;

    // The size of an entry that was listed only.
    static constexpr std::uint64_t kUnknownSize = platform::PackedFiles::kAnySize;

    bool sameBytes(const EntryVersion &other) const {
        const bool unknown = size == kUnknownSize || other.size == kUnknownSize;
        return crc == other.crc && (unknown || size == other.size);
    }
};

// The same with the file that was written for it.
struct RecordEntry : EntryVersion {
    std::uint32_t dosTime = 0; // the stored date and time, the date in the upper half
    // If written: any later change of the file shows in its identity, size and times.
    bool timesTell = false;
    // If written: `file` is not what the extraction saw, but what was seen after the attributes
    // were cleared. Another program may have written to it before.
    bool seenLater = false;
    platform::FileInfo file; // if written

    // Whether a save needs not read the file as long as its information is `file`. After a
    // power cut a disk may hold new bytes under old times, so only in the run of the system
    // that has written the file, which started at `systemStart`.
    bool provesContent(std::int64_t systemStart) const {
        return written && timesTell && !seenLater && file.size == size &&
               file.changed > systemStart;
    }
};
