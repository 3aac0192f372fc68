#pragma once

#include <string>
#include <vector>

// The exit code of a program, and its output on both streams.
struct ToolRun {
    int code = -1;
    std::string output;
};

// Runs a program, found in PATH, to its end. Under Wine it is a program of the host system, and
// absolute paths among the arguments are passed in the host's form.
ToolRun runTool(const std::vector<std::string> &words);
