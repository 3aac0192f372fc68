#include "tools/orvel-vl2/console.h"

#include <csignal>

namespace vl2 {

namespace {

volatile std::sig_atomic_t signalled = 0;

extern "C" void onInterrupt(int number) {
    signalled = 1;
    // A second one ends the process at once.
    std::signal(number, SIG_DFL);
}

} // namespace

void catchInterrupt() {
    std::signal(SIGINT, onInterrupt);
    std::signal(SIGTERM, onInterrupt);
}

bool interrupted() {
    return signalled != 0;
}

} // namespace vl2
