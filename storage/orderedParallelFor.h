#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

namespace platform {

// A loop over items whose work runs on several threads and whose results are taken in order.
struct OrderedParallelFor {
    std::size_t count = 0;
    // Bytes of memory that an item holds from its start until it was taken.
    std::function<std::uint64_t(std::size_t)> cost;
    // The largest cost of an item that usually takes less than a millisecond: a few such items run
    // on the caller's thread. None by default, as on a disk that may answer late.
    std::optional<std::uint64_t> shortCost{};
    // Does an item's work, on any thread.
    std::function<void(std::size_t)> work;
    // Takes an item, in order, on the caller's thread; false stops the loop.
    std::function<bool(std::size_t)> take;
    // Called on the caller's thread, at least about every 20 ms while it waits, and after each item
    // that runs on it.
    std::function<void()> idle;
};

// Runs the loop with at most `budget` bytes held at a time (but always at least one item), on the
// caller's thread if no other can be started or is worth it (see ThreadPool). Exceptions of `work`
// and `take` are rethrown once every thread has ended.
void orderedParallelFor(const OrderedParallelFor &job, unsigned threads, std::uint64_t budget);

} // namespace platform
