#pragma once

#include "storage/storage.h"

#include <cstdint>
#include <string>

namespace ziplib {

// What the records at the end of an archive say, checked against the file.
struct EndRecord {
    std::uint64_t directory = 0; // where it starts in the file
    std::uint64_t directorySize = 0;
    std::uint64_t base = 0;  // bytes in front of the archive
    std::uint64_t count = 0; // of entries
    std::uint64_t countMask = 0xFFFF;
    std::uint64_t trailing = 0; // bytes behind the end
    bool commentCut = false;
    std::string comment;
};

// Finds the end of an archive of `fileSize` bytes. Of several candidates that one is taken whose
// comment reaches to the end of the file and holds the others.
platform::Status findEndRecord(const platform::InputFile &file, std::uint64_t fileSize,
                               EndRecord &end);

} // namespace ziplib
