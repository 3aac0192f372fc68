#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
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

void recordState(const std::string &path) {
    std::ofstream state(path);
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        const std::string target = std::filesystem::read_symlink(entry.path(), error).string();
        // The reading itself and the state file are its own.
        if (!error && target.find("/fd") == std::string::npos && target != path)
            state << "open " << target << '\n';
    }
    state << "signals " << ignoredOrBlockedSignals() << '\n'
          << "session " << getsid(0) << '\n'
          << "folder " << std::filesystem::current_path().string() << '\n'
          << "report " << (std::getenv("ORVEL_START_REPORT") != nullptr) << '\n';
}

} // namespace

// Writes down what it was started as: the arguments, program included, each ended by a NUL, in the
// file that ORVEL_RECORD names, which comes to be when all is written.
int main(int count, char **arguments) {
    const char *record = std::getenv("ORVEL_RECORD");
    if (record == nullptr)
        return 1;
    const std::string path = record;
    recordState(path + ".state");
    {
        std::ofstream out(path + ".part", std::ios::binary);
        for (int i = 0; i < count; ++i)
            out << arguments[i] << '\0';
    }
    return std::rename((path + ".part").c_str(), path.c_str());
}
