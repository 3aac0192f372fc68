#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace ziplib {

// Work on many items by several threads at once, whose results are taken in order.
struct OrderedParallelFor {
    std::size_t count = 0;
    // Bytes of memory that an item holds from its start until it was taken.
    std::function<std::uint64_t(std::size_t)> cost;
    // Does an item's work, on any thread.
    std::function<void(std::size_t)> work;
    // Takes an item, in order, on the caller's thread; false stops everything.
    std::function<bool(std::size_t)> take;
    // Called on the caller's thread, at least about every 20 ms while it waits.
    std::function<void()> idle;
};

// Runs it with at most `budget` bytes held at a time (but always at least one item). Where no
// thread is to be had all is done on the caller's. What work or take throw is thrown here, once
// every thread has ended. False where `take` stopped it.
bool orderedParallelFor(const OrderedParallelFor &job, unsigned threads, std::uint64_t budget);

} // namespace ziplib
