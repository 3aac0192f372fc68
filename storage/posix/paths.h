#pragma once

#include "storage/status.h"

#include <string>

namespace platform {

// Splits a path into folder and name; the folder of a bare name is ".".
void splitPath(const std::string &path, std::string &folder, std::string &name);

// The path of the file that the last component of a path leads to through links; the path itself if
// it is no link. The last link's target, and any folder, may be missing.
Status followLinks(const std::string &path, std::string &target);

} // namespace platform
