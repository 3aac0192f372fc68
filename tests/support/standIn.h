#pragma once

#include <filesystem>
#include <string>

// The command line of this process, as the system passes it.
std::string ownCommandLine();
// The file on it.
std::filesystem::path fileOf(const std::string &commandLine);
// What the process inherited, a line of "name value" each; only where systems pass such things on.
std::string inheritedState();
