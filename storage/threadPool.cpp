#include "storage/threadPool.h"

#include "storage/storage.h"

#include <algorithm>
#include <cstdlib>
#include <system_error>

namespace platform {

namespace {

constexpr unsigned kMostWorkers = 8;
// From the start of a thread to the return of its first result.
constexpr std::chrono::microseconds kThreadStart{300};

// The number in the environment; 0 if there is none.
unsigned requestedWorkers() {
    const char *text = std::getenv("ORVEL_WORKERS");
    const unsigned long wanted = text == nullptr ? 0 : std::strtoul(text, nullptr, 10);
    return static_cast<unsigned>(std::min<unsigned long>(wanted, kMostWorkers));
}

} // namespace

unsigned workerCount(Work work) {
    if (const unsigned requested = requestedWorkers(); requested > 0)
        return requested;
    return work == Work::Waits ? kMostWorkers : std::clamp(processorCount(), 1U, kMostWorkers);
}

ThreadPool::ThreadPool(unsigned workers, std::size_t window)
    : m_window(std::max<std::size_t>(window, 1)), m_workers(std::max(workers, 1U)),
      m_alone(requestedWorkers() > 0 ? std::chrono::microseconds::zero() : kThreadStart) {
    m_threads.reserve(m_workers);
}

void ThreadPool::startThread() {
    try {
        const auto worker = static_cast<unsigned>(m_threads.size());
        m_threads.emplace_back([this, worker] { work(worker); });
    } catch (const std::system_error &) {
        m_refused = true; // continue with fewer threads, or none
    }
}

ThreadPool::~ThreadPool() {
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_toDo.notify_all();
    for (std::thread &thread : m_threads)
        thread.join();
}

void ThreadPool::submit(std::unique_ptr<Task> task) {
    const bool starts = !isInline() || !task->isShort() || m_spent >= m_alone;
    bool wake = false;
    bool start = false;
    {
        const std::lock_guard lock(m_mutex);
        m_tasks.push_back({std::move(task), false});
        wake = m_idle > 0;
        start = m_tasks.size() - m_started > m_threads.size() - m_busy;
    }
    if (wake)
        m_toDo.notify_one();
    if (start && starts && !m_refused && m_threads.size() < m_workers)
        startThread();
}

std::unique_ptr<ThreadPool::Task> ThreadPool::next(std::chrono::milliseconds wait) {
    std::unique_lock lock(m_mutex);
    if (m_tasks.empty())
        return nullptr;
    if (isInline()) {
        Task &task = *m_tasks.front().task;
        lock.unlock();
        const auto began = std::chrono::steady_clock::now();
        task.run(0);
        m_spent += std::chrono::steady_clock::now() - began;
        lock.lock();
    } else if (!m_tasks.front().done) {
        m_waiting = true;
        m_done.wait_for(lock, wait, [this] { return m_tasks.front().done; });
        m_waiting = false;
        if (!m_tasks.front().done)
            return nullptr;
    }
    std::unique_ptr<Task> task = std::move(m_tasks.front().task);
    m_tasks.pop_front();
    m_started -= m_started > 0 ? 1 : 0;
    return task;
}

void ThreadPool::work(unsigned worker) {
    std::unique_lock lock(m_mutex);
    while (true) {
        ++m_idle;
        m_toDo.wait(lock, [this] { return m_ending || m_started < m_tasks.size(); });
        --m_idle;
        if (m_ending)
            return;
        Slot &slot = m_tasks[m_started++];
        Task &task = *slot.task;
        ++m_busy;
        lock.unlock();
        task.run(worker);
        lock.lock();
        --m_busy;
        slot.done = true;
        // Wakes the caller once half of the window is started: a context switch for every small
        // task would cost as much as the task.
        const std::size_t unstarted = m_tasks.size() - m_started;
        if (m_waiting && m_tasks.front().done && unstarted <= m_window / 2)
            m_done.notify_one();
    }
}

MemoryBudget::Reservation::Reservation(MemoryBudget &budget, std::size_t bytes)
    : m_budget(budget), m_bytes(std::min(bytes, budget.m_total)) {
    std::unique_lock lock(m_budget.m_mutex);
    m_budget.m_returned.wait(lock, [this] { return m_budget.m_free >= m_bytes; });
    m_budget.m_free -= m_bytes;
}

MemoryBudget::Reservation::~Reservation() {
    {
        const std::lock_guard lock(m_budget.m_mutex);
        m_budget.m_free += m_bytes;
    }
    m_budget.m_returned.notify_all();
}

} // namespace platform
