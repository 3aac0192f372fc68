#pragma once

#include "storage/storage.h"
#include "ziplib/common/returnCode.h"

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What lies in the folder that is packed.
namespace ziplib {

struct FoundFile {
    std::string path;      // below the root, UTF-8, "/" between folders
    bool known = false;    // whether `info` is
    bool packed = false;   // whether the archive gets or has its bytes
    std::uint32_t crc = 0; // of these bytes
    platform::FileInfo info;
};

struct Scan {
    std::vector<FoundFile> files;         // sorted by path; links to files among them
    std::vector<FoundFile> folders;       // sorted by path
    std::vector<std::string> leftOut;     // what cannot be packed, a line for each
    std::vector<std::string> temporaries; // what a killed extraction left
    std::deque<std::string> folderPaths;  // of folders that get entries, with "/" behind them
    // What a file made in the folder before the scan was known by: whose `changed` is earlier on
    // the same disk shows every change since by another one. None where none could be made.
    std::optional<platform::FileInfo> began;
};

// Lists the folder `root` ("" is the current one), and below it where `recurse`. Links to files
// count as files; links to folders are not entered; pipes and devices are not opened. Fails where
// any folder cannot be read. Of ordinary files nothing but their names is looked at: whoever opens
// them learns the rest.
Status scanFolder(const std::string &root, bool recurse, Scan &scan);

// The path of the folder that a path lies in; "" is the root.
std::string_view folderOf(std::string_view path);

// True where both are the same version of the same file.
bool sameVersion(const platform::FileInfo &a, const platform::FileInfo &b);

} // namespace ziplib
