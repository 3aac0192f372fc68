#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace vl2 {

// Adds the hidden option --generate, which the build uses to make the files that are installed.
void addGenerate(CLI::App &program, std::string &kind);

// Prints the manual page ("man") or the completion of a shell ("bash", "zsh").
void generate(const CLI::App &program, const std::string &kind);

} // namespace vl2
