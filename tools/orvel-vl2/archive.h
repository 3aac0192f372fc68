#pragma once

#include "tools/orvel-vl2/output.h"
#include "ziplib/format/directory.h"
#include "ziplib/format/localHeader.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vl2 {

// An archive that is open for reading.
struct Archive {
    std::string path; // as given
    platform::InputFile file;
    ziplib::Directory directory;
    std::optional<ziplib::Extents> extents; // set if entries are read
};

// A message that names the archive or folder.
std::string named(const std::string &path, const std::string &message);

enum class For { Listing, Reading };

// Throws Failed if the archive cannot be read. A directory that is only partly readable is opened;
// see Directory::damage.
std::unique_ptr<Archive> openArchive(const std::string &path, For purpose);

// Opens archives in parallel, a few at a time since a process may be limited to few open files, and
// passes them in order. Reports those that cannot be read, or whose directory is damaged, on
// standard error; the result is the code for the gravest.
Exit forEachGroup(const std::vector<std::string> &paths, For purpose,
                  const std::function<Exit(std::vector<std::unique_ptr<Archive>> &group)> &take);

// The same, one archive at a time.
Exit forEachArchive(const std::vector<std::string> &paths, For purpose,
                    const std::function<Exit(Archive &archive)> &take);

} // namespace vl2
