#include "ziplib/vl2zip/inorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace ziplib; // NOLINT: the tests speak this language

namespace {

TEST(InOrder, ResultsAreTakenInOrderAndMemoryStaysInBounds) {
    constexpr std::size_t kCount = 2000;
    constexpr std::uint64_t kBudget = 5000;
    struct Row {
        unsigned threads;
        std::uint64_t cost; // the largest
    };
    for (const Row &row : {Row{1, 100}, Row{2, 100}, Row{8, 700}, Row{8, 20000}}) {
        std::atomic<std::uint64_t> held = 0;
        std::atomic<std::uint64_t> most = 0;
        std::vector<std::size_t> results(kCount);
        std::vector<std::size_t> taken;
        InOrder job;
        job.count = kCount;
        job.cost = [&](std::size_t i) { return row.cost - i % 50; };
        job.work = [&](std::size_t i) {
            const std::uint64_t now = held += job.cost(i);
            for (auto seen = most.load(); now > seen && !most.compare_exchange_weak(seen, now);) {
            }
            results[i] = i * i;
        };
        job.take = [&](std::size_t i) {
            held -= job.cost(i);
            taken.push_back(results[i]);
            return true;
        };
        job.idle = [] {};
        EXPECT_TRUE(runInOrder(job, row.threads, kBudget));
        ASSERT_EQ(taken.size(), kCount);
        for (std::size_t i = 0; i < kCount; ++i) {
            ASSERT_EQ(taken[i], i * i);
        }
        EXPECT_LE(most, std::max(kBudget, row.cost));
    }
}

TEST(InOrder, ASlowFirstItemDoesNotLetTheOthersRunAway) {
    std::atomic<int> begun = 0;
    InOrder job;
    job.count = 100;
    job.cost = [](std::size_t) { return std::uint64_t{10}; };
    int idled = 0;
    job.work = [&](std::size_t i) {
        ++begun;
        if (i == 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(120));
            EXPECT_LE(begun, 4);
        }
    };
    job.take = [](std::size_t) { return true; };
    job.idle = [&] { ++idled; };
    EXPECT_TRUE(runInOrder(job, 4, 40));
    EXPECT_GE(idled, 3);
}

TEST(InOrder, StoppingAndErrorsEndEveryThread) {
    InOrder job;
    job.count = 1000;
    job.cost = [](std::size_t) { return std::uint64_t{1}; };
    job.work = [](std::size_t) {};
    job.take = [](std::size_t i) { return i < 500; };
    job.idle = [] {};
    EXPECT_FALSE(runInOrder(job, 4, 100));
    job.work = [](std::size_t i) {
        if (i == 700) {
            throw std::runtime_error("no memory");
        }
    };
    job.take = [](std::size_t) { return true; };
    EXPECT_THROW(runInOrder(job, 4, 100), std::runtime_error);
    job.count = 0;
    EXPECT_TRUE(runInOrder(job, 4, 100));
}

} // namespace
