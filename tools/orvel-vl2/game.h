#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vl2 {

// The folder GameData of the game that is registered in the settings. Throws Failed if there is
// none.
std::string gameDataFolder();

// Whether the game takes a file of this name for an archive.
bool isArchiveName(std::string_view name);

// The archives of a folder, in the order of their names (letters' case does not count).
std::vector<std::string> archivesOf(const std::string &folder);

// The folders GameData/base and GameData/NAME of the mods. Throws Failed if one is missing.
std::vector<std::string> gameFolders(const std::vector<std::string> &mods);

} // namespace vl2
