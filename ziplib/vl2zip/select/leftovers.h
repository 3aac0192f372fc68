#pragma once

#include <string_view>

namespace ziplib {

// True if the file of this path has a name that editors and systems use for backups, locks,
// temporary files, thumbnails and folder settings. Names that users choose are not among them.
bool isLeftover(std::string_view path);

// True for what a folder may hold besides the content of an archive: leftovers, and files and
// folders whose names begin with a dot, as those of version control do.
bool isNoContent(std::string_view path);

} // namespace ziplib
