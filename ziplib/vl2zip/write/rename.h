#pragma once

#include "ziplib/common/returnCode.h"
#include "ziplib/format/directory.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace ziplib {

// An entry that keeps its data under another name.
struct RenamedEntry {
    std::string record;          // for the central directory; the offset is the old one
    std::string header;          // its new local header
    std::uint64_t oldHeader = 0; // size of the old one
};

// Makes the records of an entry for a new name (UTF-8). All other fields stay, except an extra
// field that holds the old name. Damaged if the entry's local header disagrees with the directory.
Status renameEntry(const platform::InputFile &archive, const Directory &directory,
                   const Entry &entry, std::string_view name, RenamedEntry &renamed);

} // namespace ziplib
