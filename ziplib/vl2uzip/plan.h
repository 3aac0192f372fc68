#pragma once

#include "ziplib/format/directory.h"
#include "ziplib/vl2uzip/nameFilter.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ziplib {

// The parameters of one call. Texts are UTF-8.
struct Request {
    enum class Work { List, Test, Extract };

    Work work = Work::Extract;
    std::string archive;
    std::string target;
    std::vector<std::string> wanted;
    std::vector<std::string> unwanted;
    bool onlyNewer = false;
    bool blanksToUnderscores = false;
    bool replaceAll = false;
    bool makeFolders = false;
    bool convertLineEnds = false;
    bool ignoreCase = false;
};

// The action for one entry. Decided before anything is written and from the archive alone, so that
// it does not depend on the order in which workers finish.
struct PlanItem {
    enum class Action : std::uint8_t {
        File,
        Folder,
        Special,      // a link or a device: never created
        Unsafe,       // its name may not be written
        Superseded,   // a later entry has the same path
        SharesTarget, // an earlier entry of another path goes to the same file
        Blocked       // other entries need a folder of its name
    };

    std::uint32_t index = 0; // of the entry
    Action action = Action::File;
};

struct Plan {
    std::vector<PlanItem> items; // in stored order
    std::uint64_t size = 0;      // of all files
    std::uint64_t compressedSize = 0;
};

// The path below the target folder that an entry of this path goes to. Folders end in "/"; "" for a
// folder if folders are not recreated.
std::string targetPath(const std::string &path, const Request &request);

// Plans every entry that the filter accepts.
Plan makePlan(const Directory &directory, const Request &request, NameFilter &filter,
              const platform::KeepGoing &keepGoing);

} // namespace ziplib
