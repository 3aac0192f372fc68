#pragma once

#include <filesystem>
#include <string>

// What a program learns of its start, as the system hands it over.
std::string ownCommandLine();
// The file among it.
std::filesystem::path fileOf(const std::string &commandLine);
