#pragma once

#include <string>
#include <vector>

// The exit code and the output of a program.
struct ToolRun {
    int code = -1;
    std::string output;
};

// Runs a program of the search path to its end. Under Wine it is a program of the host system, and
// absolute paths among the arguments are translated to its names.
ToolRun runTool(const std::vector<std::string> &words);
