#pragma once

#include <functional>
#include <vector>

namespace ziplib {

using Pieces = std::vector<std::function<void()>>;

// Does pieces of work side by side, each on a thread of its own, and calls `idle` about every 20 ms
// on this one until all are done. Does them here where no thread is to be had.
void runInBackground(const Pieces &pieces, const std::function<void()> &idle);

} // namespace ziplib
