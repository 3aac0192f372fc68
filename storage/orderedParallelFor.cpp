#include "storage/orderedParallelFor.h"

#include "storage/threadPool.h"

#include <algorithm>
#include <exception>

namespace platform {

namespace {

// Small items are worked on in batches, so that threads rarely contend for the queue.
constexpr std::size_t kBatch = 64;
constexpr std::uint64_t kBatchBytes = 4U << 20U;
constexpr std::size_t kMostBatches = 128; // submitted and not taken
constexpr std::chrono::milliseconds kIdlePeriod{20};

// Consecutive items.
struct Batch : ThreadPool::Task {
    Batch(const OrderedParallelFor &parallelFor, std::size_t begin)
        : job(parallelFor), first(begin), end(begin) {}

    void run(unsigned) noexcept override {
        try {
            for (std::size_t i = first; i < end; ++i)
                job.work(i);
        } catch (...) {
            thrown = std::current_exception();
        }
    }

    bool isShort() const override { return job.shortCost && cost <= *job.shortCost; }

    const OrderedParallelFor &job;
    const std::size_t first;
    std::size_t end;
    std::uint64_t cost = 0;
    std::exception_ptr thrown;
};

class Loop {
  public:
    Loop(const OrderedParallelFor &job, unsigned threads, std::uint64_t budget)
        : m_job(job), m_budget(budget), m_pool(threads, kMostBatches) {}

    void run() {
        while (m_next < m_job.count || !m_pool.empty()) {
            while (m_next < m_job.count && !m_pool.full() && fits(m_job.cost(m_next)))
                submit();
            if (const auto done = m_pool.next(kIdlePeriod);
                done && !take(static_cast<Batch &>(*done)))
                return;
            m_job.idle();
        }
    }

  private:
    bool fits(std::uint64_t cost) const { return m_held == 0 || m_held + cost <= m_budget; }

    void submit() {
        auto batch = std::make_unique<Batch>(m_job, m_next);
        // On the caller's thread `idle` must be called after each item.
        const std::size_t most = m_pool.isInline() ? 1 : kBatch;
        do {
            const std::uint64_t cost = m_job.cost(m_next);
            const bool first = m_next == batch->first;
            if (!first && (batch->cost + cost > kBatchBytes || !fits(cost)))
                break;
            batch->cost += cost;
            m_held += cost;
            ++m_next;
        } while (m_next < m_job.count && m_next - batch->first < most);
        batch->end = m_next;
        m_pool.submit(std::move(batch));
    }

    // False if the job stops the loop.
    bool take(const Batch &batch) {
        if (batch.thrown)
            std::rethrow_exception(batch.thrown);
        for (std::size_t i = batch.first; i < batch.end; ++i)
            if (!m_job.take(i))
                return false;
        m_held -= batch.cost;
        return true;
    }

    const OrderedParallelFor &m_job;
    const std::uint64_t m_budget;
    std::size_t m_next = 0;   // first item that was not submitted
    std::uint64_t m_held = 0; // cost of the items that were submitted and not taken
    ThreadPool m_pool;
};

} // namespace

void orderedParallelFor(const OrderedParallelFor &job, unsigned threads, std::uint64_t budget) {
    if (job.count > 0)
        Loop(job, static_cast<unsigned>(std::min<std::size_t>(threads, job.count)), budget).run();
}

} // namespace platform
