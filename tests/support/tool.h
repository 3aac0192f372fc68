#pragma once

#include <string>
#include <vector>

// What a program left behind: the exit code, and all that it printed.
struct ToolRun {
    int code = -1;
    std::string output;
};

// Runs a program, found as the shell finds it, to its end. In a test that runs under Wine it is one
// of the system outside, and whole paths among the arguments are told as that system names them.
ToolRun runTool(const std::vector<std::string> &words);
