#include "ziplib/common/orderedParallelFor.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace ziplib {

namespace {

// Small items are taken by the handful, so that threads seldom meet.
constexpr std::size_t kBatch = 64;
constexpr std::uint64_t kBatchBytes = 4U << 20U;
constexpr std::chrono::milliseconds kIdlePeriod{20};

class ThreadPool {
  public:
    ThreadPool(const OrderedParallelFor &job, std::uint64_t budget)
        : m_job(job), m_budget(budget), m_done(job.count, 0) {}
    ~ThreadPool() { stop(); }
    ThreadPool(const ThreadPool &) = delete;
    ThreadPool &operator=(const ThreadPool &) = delete;

    bool start(unsigned threads);
    bool takeAll();

  private:
    void work();
    std::size_t claim(std::unique_lock<std::mutex> &lock, std::size_t &end);
    void stop();

    const OrderedParallelFor &m_job;
    const std::uint64_t m_budget;
    std::mutex m_mutex;
    std::condition_variable m_room;  // budget was given back, or there is no more work
    std::condition_variable m_ready; // the item that is taken next is done
    std::vector<std::uint8_t> m_done;
    std::size_t m_next = 0;   // first item that nobody has begun
    std::size_t m_taking = 0; // item that is taken next
    std::uint64_t m_held = 0;
    bool m_stopped = false;
    std::exception_ptr m_thrown;
    std::vector<std::thread> m_threads;
};

bool ThreadPool::start(unsigned threads) {
    m_threads.reserve(threads);
    try {
        for (unsigned i = 0; i < threads; ++i)
            m_threads.emplace_back([this] { work(); });
    } catch (const std::system_error &) {
        // As many as there are will do.
    }
    return !m_threads.empty();
}

void ThreadPool::stop() {
    {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
        m_room.notify_all();
    }
    for (auto &thread : m_threads)
        thread.join();
    m_threads.clear();
}

// Waits for room and claims the items from the result to `end`; none where all is begun.
std::size_t ThreadPool::claim(std::unique_lock<std::mutex> &lock, std::size_t &end) {
    m_room.wait(lock, [this] {
        // What is not taken yet gives its room back: waiting for it cannot last for ever.
        return m_stopped || m_next >= m_job.count || m_held == 0 ||
               m_held + m_job.cost(m_next) <= m_budget;
    });
    end = m_next;
    if (m_stopped || m_next >= m_job.count)
        return m_next;
    const std::size_t first = m_next;
    std::uint64_t batch = 0;
    while (end < m_job.count && end - first < kBatch) {
        const std::uint64_t cost = m_job.cost(end);
        if (end > first && (batch + cost > kBatchBytes || m_held + cost > m_budget))
            break;
        batch += cost;
        m_held += cost;
        ++end;
    }
    m_next = end;
    return first;
}

void ThreadPool::work() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        std::size_t end = 0;
        const std::size_t first = claim(lock, end);
        if (first == end)
            return;
        lock.unlock();
        std::exception_ptr thrown;
        try {
            for (std::size_t i = first; i < end; ++i)
                m_job.work(i);
        } catch (...) {
            thrown = std::current_exception();
        }
        lock.lock();
        if (thrown) {
            m_thrown = thrown;
            m_stopped = true;
            m_ready.notify_one();
            m_room.notify_all();
            return;
        }
        std::fill(m_done.begin() + static_cast<std::ptrdiff_t>(first),
                  m_done.begin() + static_cast<std::ptrdiff_t>(end), std::uint8_t{1});
        if (m_taking >= first && m_taking < end)
            m_ready.notify_one();
    }
}

bool ThreadPool::takeAll() {
    std::unique_lock lock(m_mutex);
    while (m_taking < m_job.count) {
        while (m_done[m_taking] == 0 && !m_thrown) {
            if (m_ready.wait_for(lock, kIdlePeriod) == std::cv_status::timeout) {
                lock.unlock();
                m_job.idle();
                lock.lock();
            }
        }
        if (m_thrown)
            break;
        std::size_t end = m_taking;
        std::uint64_t given = 0;
        while (end < m_job.count && m_done[end] != 0 && end - m_taking < kBatch) {
            given += m_job.cost(end);
            ++end;
        }
        const std::size_t first = m_taking;
        lock.unlock();
        for (std::size_t i = first; i < end; ++i)
            if (!m_job.take(i))
                return false;
        m_job.idle();
        lock.lock();
        m_taking = end;
        m_held -= given;
        m_room.notify_all();
    }
    if (m_thrown) {
        const std::exception_ptr thrown = m_thrown;
        lock.unlock();
        std::rethrow_exception(thrown);
    }
    return true;
}

bool runHere(const OrderedParallelFor &job) {
    for (std::size_t i = 0; i < job.count; ++i) {
        job.work(i);
        if (!job.take(i))
            return false;
        job.idle();
    }
    return true;
}

} // namespace

bool orderedParallelFor(const OrderedParallelFor &job, unsigned threads, std::uint64_t budget) {
    ThreadPool pool(job, budget);
    const auto wanted = std::min<std::size_t>(std::max(threads, 1U), job.count);
    return pool.start(static_cast<unsigned>(wanted)) ? pool.takeAll() : runHere(job);
}

} // namespace ziplib
