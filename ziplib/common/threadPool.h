#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace ziplib {

// How many threads work: as many as the machine has processors, at most 8; the environment's
// ORVEL_WORKERS overrides it.
unsigned workerCount();
// Overrides both from now on; 0 takes the override away. For tests and benchmarks.
void setWorkerCount(unsigned count);

// Works on tasks in threads of its own and hands them back in the order in which they came.
// Where no thread can be had, next() does the work.
class Pipeline {
  public:
    class Task {
      public:
        Task() = default;
        virtual ~Task() = default;
        Task(const Task &) = delete;
        Task &operator=(const Task &) = delete;
        // `worker` is below the pipeline's worker count, for buffers that each thread keeps. Must
        // not let exceptions out.
        virtual void run(unsigned worker) noexcept = 0;
    };

    // `window` tasks may be under way or waiting to be collected.
    Pipeline(unsigned workers, std::size_t window);
    // Waits for what is under way; what has not been started is dropped.
    ~Pipeline();
    Pipeline(const Pipeline &) = delete;
    Pipeline &operator=(const Pipeline &) = delete;

    // Worker numbers are below this; at least 1.
    unsigned workers() const { return m_workers; }
    // True where the tasks run in the caller's thread, inside next().
    bool isInline() const { return m_threads.empty(); }
    bool full() const { return m_tasks.size() >= m_window; }
    bool empty() const { return m_tasks.empty(); }
    // Takes a task on. Only where it is not full.
    void submit(std::unique_ptr<Task> task);
    // The oldest task once it is done, or null where it is not within `wait`.
    std::unique_ptr<Task> next(std::chrono::milliseconds wait);

  private:
    struct Slot {
        std::unique_ptr<Task> task;
        bool done = false;
    };

    void work(unsigned worker);

    const std::size_t m_window;
    unsigned m_workers;
    std::mutex m_mutex;
    std::condition_variable m_toDo;
    std::condition_variable m_done;
    std::deque<Slot> m_tasks;  // slots keep their address while others come and go at the ends
    std::size_t m_started = 0; // of m_tasks, from the front
    bool m_waiting = false;    // the caller is in next()
    unsigned m_idle = 0;       // threads that wait for a task
    bool m_ending = false;
    std::vector<std::thread> m_threads;
};

// A number of bytes that threads share: take() waits until there are enough. A wish for more than
// there are at all waits for all of them.
class MemoryBudget {
  public:
    explicit MemoryBudget(std::size_t bytes) : m_total(bytes), m_left(bytes) {}

    // Holds bytes until it goes out of scope.
    class Share {
      public:
        Share(MemoryBudget &budget, std::size_t bytes);
        ~Share();
        Share(const Share &) = delete;
        Share &operator=(const Share &) = delete;

      private:
        MemoryBudget &m_budget;
        std::size_t m_bytes;
    };

  private:
    const std::size_t m_total;
    std::size_t m_left;
    std::mutex m_mutex;
    std::condition_variable m_returned;
};

} // namespace ziplib
