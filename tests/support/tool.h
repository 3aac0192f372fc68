#pragma once

#include <string>
#include <vector>

// The exit code of a program, and its output on both streams.
struct ToolRun {
    int code = -1;
    std::string output;
};

// A word as a shell reads it.
inline std::string quotedWord(const std::string &text) {
    std::string out = "'";
    for (const char c : text)
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

// Runs a program, found in PATH, to its end. Under Wine it is a program of the host system, and
// absolute paths among the arguments are passed in the host's form.
ToolRun runTool(const std::vector<std::string> &words);
