#include "ziplib/container/workers.h"
#include "tests/support/environment.h"

#include <gtest/gtest.h>

#include <atomic>

using ziplib::Pipeline;
using std::chrono_literals::operator""ms;

namespace {

class Numbered : public Pipeline::Task {
  public:
    Numbered(int number, std::atomic<int> &alive) : m_number(number), m_alive(alive) { ++m_alive; }
    ~Numbered() override { --m_alive; }
    void run(unsigned worker) noexcept override {
        // Later ones are quicker, so that they are done first.
        std::this_thread::sleep_for(std::chrono::microseconds(m_number % 7 == 0 ? 500 : 5));
        m_done = worker < 8;
    }
    int number() const { return m_number; }
    bool done() const { return m_done; }

  private:
    int m_number;
    std::atomic<int> &m_alive;
    bool m_done = false;
};

} // namespace

TEST(Pipelines, HandTasksBackInTheirOrderAndEachOnce) {
    std::atomic<int> alive{0};
    for (const unsigned workers : {1U, 2U, 8U}) {
        for (const std::size_t window : {1U, 3U, 64U}) {
            Pipeline pipeline(workers, window);
            int expected = 0;
            const auto collect = [&] {
                while (const auto task = pipeline.next(1ms)) {
                    const auto &numbered = static_cast<const Numbered &>(*task);
                    EXPECT_EQ(numbered.number(), expected++);
                    EXPECT_TRUE(numbered.done());
                }
            };
            for (int i = 0; i < 500; ++i) {
                while (pipeline.full()) {
                    collect();
                }
                pipeline.submit(std::make_unique<Numbered>(i, alive));
            }
            while (!pipeline.empty()) {
                collect();
            }
            EXPECT_EQ(expected, 500);
        }
    }
    EXPECT_EQ(alive, 0);
}

TEST(Pipelines, MayEndWithTasksThatNobodyCollected) {
    std::atomic<int> alive{0};
    {
        Pipeline pipeline(4, 100);
        for (int i = 0; i < 100; ++i) {
            pipeline.submit(std::make_unique<Numbered>(i, alive));
        }
    }
    EXPECT_EQ(alive, 0);
}

TEST(WorkerCounts, FollowTheSettingThenTheEnvironmentThenTheMachine) {
    setVariable("ORVEL_WORKERS", "");
    const unsigned own = ziplib::workerCount();
    EXPECT_GE(own, 1U);
    EXPECT_LE(own, 8U);
    setVariable("ORVEL_WORKERS", "3");
    EXPECT_EQ(ziplib::workerCount(), 3U);
    setVariable("ORVEL_WORKERS", "99");
    EXPECT_EQ(ziplib::workerCount(), 8U);
    ziplib::setWorkerCount(2);
    EXPECT_EQ(ziplib::workerCount(), 2U);
    ziplib::setWorkerCount(0);
    setVariable("ORVEL_WORKERS", "nonsense");
    EXPECT_EQ(ziplib::workerCount(), own);
    setVariable("ORVEL_WORKERS", "");
}

TEST(MemoryBudgets, NeverGiveMoreThanTheyHave) {
    ziplib::MemoryBudget budget(100);
    std::atomic<int> held{0};
    std::atomic<int> most{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 200; ++round) {
                const int wish = i == 0 ? 1000 : 30;
                const ziplib::MemoryBudget::Share share(budget, static_cast<std::size_t>(wish));
                const int now = held += std::min(wish, 100);
                int before = most;
                while (now > before && !most.compare_exchange_weak(before, now)) {
                }
                held -= std::min(wish, 100);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_LE(most, 100);
}
