#pragma once

#include <string_view>

namespace ziplib {

// True where the name of a file, by its whole path, is one that editors and systems give to what
// they leave behind: backups, locks, temporaries, thumbnails and settings of a folder. Only names
// that nobody gives to a file of his own.
bool isLeftover(std::string_view path);

} // namespace ziplib
