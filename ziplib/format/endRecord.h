#pragma once

#include "storage/storage.h"

#include <cstdint>
#include <string>

namespace ziplib {

// Contents of the end of central directory records, checked against the file.
struct EndRecord {
    std::uint64_t directory = 0; // its offset in the file
    std::uint64_t directorySize = 0;
    std::uint64_t base = 0;  // bytes in front of the archive
    std::uint64_t count = 0; // of entries
    std::uint64_t countMask = 0xFFFF;
    std::uint64_t trailing = 0; // bytes after the end
    bool commentCut = false;
    std::string comment;
};

// Finds the end of an archive of `fileSize` bytes. Of several candidates, takes the one whose
// comment reaches the end of the file and contains the others.
platform::Status findEndRecord(const platform::InputFile &file, std::uint64_t fileSize,
                               EndRecord &end);

} // namespace ziplib
