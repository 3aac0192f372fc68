#pragma once

#include <functional>

namespace ziplib {

// Runs `work` on a thread of its own and calls `idle` about every 20 ms on this one until it is
// done. Runs it here where no thread is to be had.
void runInBackground(const std::function<void()> &work, const std::function<void()> &idle);

} // namespace ziplib
