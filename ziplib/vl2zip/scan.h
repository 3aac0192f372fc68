#pragma once

#include "platform/storage.h"
#include "ziplib/vl2zip/outcome.h"

#include <functional>
#include <string>
#include <vector>

// What lies in the folder that is packed.
namespace ziplib {

struct FoundFile {
    std::string path;   // below the root, UTF-8, "/" between folders
    bool known = false; // whether `info` is
    platform::FileInfo info;
};

struct Scan {
    std::vector<FoundFile> files;         // sorted by path; links to files among them
    std::vector<FoundFile> folders;       // sorted by path
    std::vector<std::string> leftOut;     // what cannot be packed, a line for each
    std::vector<std::string> temporaries; // what a killed extraction left

    // The first file that is not the same version of itself in a later scan of everything (of one
    // that is not known any will do), or is in one of the two only; empty where there is none.
    std::string changedIn(const Scan &later) const;
};

// Lists the folder `root` ("" is the current one), and below it where `recurse`. Links to files
// count as files; links to folders are not entered; pipes and devices are not opened. Fails where
// any folder cannot be read. Of files that are to be opened anyway the names alone will do. `idle`
// is called often.
enum class Look { Names, Everything };
Outcome scanFolder(const std::string &root, bool recurse, Look look,
                   const std::function<void()> &idle, Scan &scan);

// True where both are the same version of the same file.
bool sameVersion(const platform::FileInfo &a, const platform::FileInfo &b);

} // namespace ziplib
