#include "tools/orvel-vl2/console.h"

#include <array>
#include <csignal>
#include <unistd.h>

namespace vl2 {

void prepareStreams() {
    std::signal(SIGPIPE, SIG_IGN);
    // The same for a file that exceeds the limit of the process.
    std::signal(SIGXFSZ, SIG_IGN);
    std::setvbuf(stdout, nullptr, _IONBF, 0);
}

std::span<const int> interruptSignals() {
    static constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};
    return kSignals;
}

bool isTerminal(std::FILE *stream) {
    return ::isatty(::fileno(stream)) != 0;
}

} // namespace vl2
