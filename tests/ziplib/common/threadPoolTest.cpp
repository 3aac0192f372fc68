#include "ziplib/common/threadPool.h"
#include "tests/support/environment.h"

#include <gtest/gtest.h>

#include <atomic>

using ziplib::ThreadPool;

namespace {

class Numbered : public ThreadPool::Task {
  public:
    explicit Numbered(int own) : number(own) {}
    void run(unsigned worker) noexcept override {
        // Later ones are quicker, so that they are done first.
        std::this_thread::sleep_for(std::chrono::microseconds(number % 7 == 0 ? 500 : 5));
        done = worker < 8;
    }

    const int number;
    bool done = false;
};

} // namespace

TEST(ThreadPools, HandTasksBackInTheirOrderAndEachOnce) {
    for (const unsigned workers : {1U, 2U, 8U}) {
        for (const std::size_t window : {1U, 3U, 64U}) {
            ThreadPool pool(workers, window);
            int expected = 0;
            const auto collect = [&] {
                while (const auto task = pool.next(std::chrono::milliseconds(1))) {
                    const auto &numbered = static_cast<const Numbered &>(*task);
                    EXPECT_EQ(numbered.number, expected++);
                    EXPECT_TRUE(numbered.done);
                }
            };
            for (int i = 0; i < 500; ++i) {
                while (pool.full())
                    collect();
                pool.submit(std::make_unique<Numbered>(i));
            }
            while (!pool.empty())
                collect();
            EXPECT_EQ(expected, 500);
        }
    }
}

TEST(WorkerCounts, FollowTheEnvironmentThenTheMachine) {
    setVariable("ORVEL_WORKERS", "");
    const unsigned own = ziplib::workerCount();
    EXPECT_TRUE(own >= 1 && own <= 8) << own;
    const std::pair<const char *, unsigned> rows[] = {{"3", 3}, {"99", 8}, {"nonsense", own}};
    for (const auto &[wanted, expected] : rows) {
        setVariable("ORVEL_WORKERS", wanted);
        EXPECT_EQ(ziplib::workerCount(), expected) << wanted;
    }
    setVariable("ORVEL_WORKERS", "");
}

TEST(MemoryBudgets, NeverGiveMoreThanTheyHave) {
    ziplib::MemoryBudget budget(100);
    std::atomic<int> held{0};
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&, wish = i == 0 ? 1000 : 30] {
            for (int round = 0; round < 200; ++round) {
                const ziplib::MemoryBudget::Reservation reservation(budget,
                                                                    static_cast<std::size_t>(wish));
                EXPECT_LE(held += std::min(wish, 100), 100);
                std::this_thread::sleep_for(std::chrono::microseconds(20)); // others meet it
                held -= std::min(wish, 100);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
}
