#pragma once

#include <string>

namespace platform {

class Disk;

// Gives a file of an open folder another name, which must be free: as rename, but -1 with EEXIST if
// there is such a file. In the best way that the disk has.
int renameToFree(Disk &disk, int folder, const std::string &from, const std::string &to);

} // namespace platform
