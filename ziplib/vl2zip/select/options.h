#pragma once

#include "ziplib/vl2zip/select/base.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ziplib {

// The options of one call, converted from ZPOPT and ZCL.
struct PackOptions {
    std::string archive; // path of the archive
    std::string root;    // folder that the patterns are relative to; "" the current one
    std::vector<std::string> patterns; // names or patterns, "/" between folders
    bool recurse = false;              // match the patterns in every folder below the root
    bool junkFolders = false;          // store names without their folders
    bool folderEntries = false;        // add an entry for each folder
    bool hiddenToo = false;            // pack hidden and system files
    bool encrypt = false;              // encrypt added files
    bool newerOnly = false;            // replace an entry only if the file is newer
    bool addNew = true;                // add files that the archive does not hold
    bool crlfToLf = false;             // line ends of text files
    bool lfToCrlf = false;
    bool remove = false; // delete the matching entries instead
    // For builds: times of entries in UTC instead of local time; one time for all of them
    // (nanoseconds since 1970, UTC); also pack leftovers of editors and names that begin with a
    // dot.
    bool utc = false;
    std::optional<std::int64_t> time;
    bool leftoversToo = false;
    // Null to pack every file that differs from its entry, whatever changed the entry.
    std::shared_ptr<const Base> base;
    // Called once the new archive has replaced the old one: nothing can end the call as a failure
    // then, except a disk that cannot be flushed. May be empty.
    std::function<void()> replaced;
    bool verbose = false;
    bool quiet = false;
};

} // namespace ziplib
