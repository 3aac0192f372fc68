#include "tests/workspace/standIn.h"

#include <fstream>
#include <iterator>

// The arguments, the program first, each ended by a NUL.
std::string ownCommandLine() {
    std::ifstream stream("/proc/self/cmdline", std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::filesystem::path fileOf(const std::string &commandLine) {
    const std::string text = commandLine.substr(0, commandLine.size() - 1);
    return text.substr(text.rfind('\0') + 1);
}
