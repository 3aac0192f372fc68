#pragma once

#include "ziplib/vl2zip/select/base.h"

#include <memory>
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
    // Null to pack every file that differs from its entry, whatever changed the entry.
    std::shared_ptr<const Base> base;
    bool verbose = false;
    bool quiet = false;
};

} // namespace ziplib
