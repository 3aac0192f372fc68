#pragma once

#include <string_view>

namespace ziplib {

// True if the file of this path has a name that editors and systems use for backups, locks,
// temporary files, thumbnails and folder settings. Names that users choose are not among them.
bool isLeftover(std::string_view path);

} // namespace ziplib
