#include "tools/orvel-vl2/console.h"

#include <csignal>

namespace vl2 {

namespace {

volatile std::sig_atomic_t signalled = 0;

extern "C" void onInterrupt(int number) {
    signalled = 1;
    // On Windows, it is reset for each signal. A second one must not end the process while it
    // removes what is temporary.
    std::signal(number, onInterrupt);
}

} // namespace

void catchInterrupt() {
    for (const int number : interruptSignals())
        // One that the parent ignores, as nohup does, stays ignored.
        if (std::signal(number, SIG_IGN) != SIG_IGN)
            std::signal(number, onInterrupt);
}

bool interrupted() {
    return signalled != 0;
}

} // namespace vl2
