#include "tests/support/standIn.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include <unistd.h>

// The arguments, the program first, each ended by a NUL.
std::string ownCommandLine() {
    std::ifstream stream("/proc/self/cmdline", std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::filesystem::path fileOf(const std::string &commandLine) {
    const std::string text = commandLine.substr(0, commandLine.size() - 1);
    return text.substr(text.rfind('\0') + 1);
}

std::string inheritedState() {
    std::ostringstream state;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        const std::string target = std::filesystem::read_symlink(entry.path(), error).string();
        if (!error && target.find("/fd") == std::string::npos) // the iterator's own
            state << "open " << target << '\n';
    }
    int signals = 0; // masks of ignored or blocked ones
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("SigBlk:") || line.starts_with("SigIgn:"))
            signals += line.find_first_not_of('0', 8) != std::string::npos;
    state << "signals " << signals << '\n'
          << "session " << getsid(0) << '\n'
          << "folder " << std::filesystem::current_path().string() << '\n'
          << "report " << (std::getenv("ORVEL_START_REPORT") != nullptr) << '\n';
    return state.str();
}
