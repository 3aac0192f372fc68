#include "tests/support/standIn.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include <unistd.h>

namespace {

int ignoredOrBlockedSignals() {
    int count = 0;
    sigset_t blocked;
    sigprocmask(SIG_SETMASK, nullptr, &blocked);
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction action = {};
        const bool ignored =
            sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
        count += ignored || sigismember(&blocked, number) == 1;
    }
    return count;
}

} // namespace

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
    state << "signals " << ignoredOrBlockedSignals() << '\n'
          << "session " << getsid(0) << '\n'
          << "folder " << std::filesystem::current_path().string() << '\n'
          << "report " << (std::getenv("ORVEL_START_REPORT") != nullptr) << '\n';
    return state.str();
}
