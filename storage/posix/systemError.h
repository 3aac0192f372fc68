#pragma once

#include "storage/status.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace platform {

// The status for an errno: "<what> <path>: <the system's words>".
Status errnoStatus(int error, const char *what, const std::string &path);

// The result of a call that creates a file or folder in an open folder (or AT_FDCWD), made again
// for some milliseconds while the folder permits it but the call is refused: gocryptfs that root
// has mounted refuses the calls of other users at random.
template<typename Call>
int createSteadily(int folder, Call call) {
    constexpr int kRounds = 20;
    int result = call();
    for (int round = 0; result < 0 && round < kRounds; ++round) {
        if (errno != EPERM &&
            (errno != EACCES || faccessat(folder, ".", W_OK | X_OK, AT_EACCESS) != 0))
            break;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        result = call();
    }
    return result;
}

} // namespace platform
