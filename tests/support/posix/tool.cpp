#include "tests/support/tool.h"

#include <array>
#include <cstdio>
#include <sys/wait.h>

ToolRun runTool(const std::vector<std::string> &words) {
    std::string command;
    for (const auto &word : words)
        command += quotedWord(word) + ' ';
    ToolRun run;
    FILE *pipe = ::popen((command + "2>&1").c_str(), "r");
    if (pipe == nullptr)
        return run;
    std::array<char, 4096> piece{};
    for (std::size_t got = 0; (got = std::fread(piece.data(), 1, piece.size(), pipe)) > 0;)
        run.output.append(piece.data(), got);
    const int status = ::pclose(pipe);
    run.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}
