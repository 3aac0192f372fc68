#include "storage/orderedParallelFor.h"
#include "storage/threadPool.h"
#include "tests/support/environment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

using namespace platform; // NOLINT: the tests speak this language

namespace {

TEST(OrderedParallelFor, ResultsAreTakenInOrderWithinTheMemoryBudget) {
    constexpr std::size_t kCount = 2000;
    constexpr std::uint64_t kBudget = 5000;
    // Threads, and the largest cost of an item.
    const std::pair<unsigned, std::uint64_t> rows[] = {{1, 100}, {2, 100}, {8, 700}, {8, 20000}};
    for (const auto &[threads, largest] : rows) {
        std::atomic<std::uint64_t> held = 0;
        std::vector<std::size_t> results(kCount);
        std::size_t taken = 0;
        OrderedParallelFor job;
        job.count = kCount;
        job.cost = [cost = largest](std::size_t i) { return cost - i % 50; };
        job.work = [&, most = std::max(kBudget, largest)](std::size_t i) {
            EXPECT_LE(held += job.cost(i), most);
            results[i] = i * i;
        };
        job.take = [&](std::size_t i) {
            held -= job.cost(i);
            EXPECT_EQ(i, taken++);
            EXPECT_EQ(results[i], i * i);
            return true;
        };
        job.idle = [] {};
        orderedParallelFor(job, threads, kBudget);
        EXPECT_EQ(taken, kCount);
    }
}

TEST(OrderedParallelFor, StoppingAndErrorsEndEveryThread) {
    OrderedParallelFor job;
    job.count = 1000;
    job.cost = [](std::size_t) { return std::uint64_t{1}; };
    job.work = [](std::size_t) {};
    std::size_t last = 0;
    job.take = [&](std::size_t i) { return (last = i) < 500; };
    job.idle = [] {};
    orderedParallelFor(job, 4, 100);
    EXPECT_EQ(last, 500U);
    job.work = [](std::size_t i) { (void)std::vector<int>(1000).at(i < 300 ? 0 : 1000); };
    EXPECT_THROW(orderedParallelFor(job, 4, 100), std::out_of_range);
    job.count = 0;
    orderedParallelFor(job, 4, 100);
}

TEST(OrderedParallelFor, RunsFewShortItemsOnTheCallersThread) {
    const struct {
        const char *workers;
        std::size_t count;
        std::uint64_t cost;
        std::chrono::milliseconds time;
        bool onCaller;
        bool onOthers;
    } rows[] = {{"", 4, 10, {}, true, false},
                {"", 4, 11, {}, false, true},
                {"", 100, 10, std::chrono::milliseconds(2), true, true},
                {"2", 4, 10, {}, false, true}};
    for (const auto &row : rows) {
        setVariable("ORVEL_WORKERS", row.workers);
        std::atomic<bool> onCaller = false;
        std::atomic<bool> onOthers = false;
        std::size_t idle = 0;
        OrderedParallelFor job;
        job.count = row.count;
        job.cost = [&](std::size_t) { return row.cost; };
        job.shortCost = 10;
        job.work = [&, caller = std::this_thread::get_id()](std::size_t) {
            std::this_thread::sleep_for(row.time);
            (std::this_thread::get_id() == caller ? onCaller : onOthers) = true;
        };
        job.take = [](std::size_t) { return true; };
        job.idle = [&] { ++idle; };
        // On a busy machine, the caller's thread may be held up for longer than a thread's start
        // takes.
        for (int tries = 0; tries < 20 && (tries == 0 || onOthers != row.onOthers); ++tries) {
            onCaller = onOthers = false;
            idle = 0;
            orderedParallelFor(job, 2, UINT64_MAX);
        }
        EXPECT_EQ(onCaller, row.onCaller);
        EXPECT_EQ(onOthers, row.onOthers);
        EXPECT_TRUE(row.onOthers || idle == row.count);
    }
    setVariable("ORVEL_WORKERS", "");
}

TEST(WorkerCount, ComesFromTheEnvironmentUpToEight) {
    setVariable("ORVEL_WORKERS", "");
    const unsigned own = workerCount();
    const std::pair<const char *, unsigned> rows[] = {{"3", 3}, {"99", 8}, {"nonsense", own}};
    for (const auto &[text, expected] : rows) {
        setVariable("ORVEL_WORKERS", text);
        EXPECT_EQ(workerCount(), expected) << text;
    }
    setVariable("ORVEL_WORKERS", "");
}

TEST(MemoryBudgets, AreNeverExceeded) {
    MemoryBudget budget(100);
    std::atomic<int> held{0};
    std::vector<std::jthread> threads(8);
    for (std::size_t i = 0; i < threads.size(); ++i) {
        // One of them takes more than there is.
        threads[i] = std::jthread([&, size = i == 0 ? 1000 : 30] {
            for (int round = 0; round < 200; ++round) {
                const MemoryBudget::Reservation reservation(budget, static_cast<std::size_t>(size));
                EXPECT_LE(held += std::min(size, 100), 100);
                std::this_thread::sleep_for(std::chrono::microseconds(20));
                held -= std::min(size, 100);
            }
        });
    }
}

} // namespace
