#include "tools/orvel-vl2/console.h"

#include <csignal>
#include <unistd.h>

namespace vl2 {

void prepareStreams() {
    std::signal(SIGPIPE, SIG_IGN);
    std::setvbuf(stdout, nullptr, _IONBF, 0);
}

bool isTerminal(std::FILE *stream) {
    return ::isatty(::fileno(stream)) != 0;
}

} // namespace vl2
