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

namespace platform {

// Computes: uses a processor most of the time. Waits: waits for the disk most of the time.
enum class Work { Computes, Waits };
// Number of worker threads: the number of processors, at most 8; for work that waits always 8. The
// environment variable ORVEL_WORKERS overrides it.
unsigned workerCount(Work work = Work::Computes);

// Runs tasks on its threads and returns them in the order in which they were submitted. Short tasks
// run on the caller's thread until they have taken as long as it takes to start a thread; then, or
// with the first other task, a thread is started, and each further one when a task finds none free.
// If no thread can be started, the caller's thread runs all tasks; if ORVEL_WORKERS is set, it runs
// none.
class ThreadPool {
  public:
    class Task {
      public:
        Task() = default;
        virtual ~Task() = default;
        Task(const Task &) = delete;
        Task &operator=(const Task &) = delete;
        // `worker` is less than workers(), for buffers that each thread keeps.
        virtual void run(unsigned worker) noexcept = 0;
        // True if it usually takes less than a millisecond: the caller's thread may run it.
        virtual bool isShort() const { return false; }
    };

    // `window` is the largest number of tasks that were submitted and not yet returned.
    ThreadPool(unsigned workers, std::size_t window);
    // Waits for the tasks that run; the others are dropped.
    ~ThreadPool();
    ThreadPool(const ThreadPool &) = delete;
    ThreadPool &operator=(const ThreadPool &) = delete;

    // At least 1.
    unsigned workers() const { return m_workers; }
    // True if no thread was started: the submitted tasks run on the caller's thread, in next().
    bool isInline() const { return m_threads.empty(); }
    bool full() const { return m_tasks.size() >= (isInline() ? 1 : m_window); }
    bool empty() const { return m_tasks.empty(); }
    // Adds a task. The pool must not be full.
    void submit(std::unique_ptr<Task> task);
    // Returns the oldest task once it has ended, or null if it has not within `wait`.
    std::unique_ptr<Task> next(std::chrono::milliseconds wait);

  private:
    struct Slot {
        std::unique_ptr<Task> task;
        bool done = false;
    };

    void startThread();
    void work(unsigned worker);

    const std::size_t m_window;
    const unsigned m_workers;
    std::mutex m_mutex;
    std::condition_variable m_toDo;
    std::condition_variable m_done;
    std::deque<Slot> m_tasks;  // a deque: slots keep their addresses
    std::size_t m_started = 0; // of m_tasks, from the front
    bool m_waiting = false;    // the caller is in next()
    unsigned m_idle = 0;       // threads that wait
    unsigned m_busy = 0;       // threads that run a task
    bool m_ending = false;
    bool m_refused = false; // the system starts no more threads
    // The time that the caller's thread has spent on tasks, and after which a thread is started.
    std::chrono::steady_clock::duration m_spent{0};
    const std::chrono::microseconds m_alone;
    std::vector<std::thread> m_threads;
};

// A limit on the memory that threads use together. A reservation waits until enough bytes are free;
// one of more than the limit waits for all of them.
class MemoryBudget {
  public:
    explicit MemoryBudget(std::size_t bytes) : m_total(bytes), m_free(bytes) {}

    // Holds bytes until it goes out of scope.
    class Reservation {
      public:
        Reservation(MemoryBudget &budget, std::size_t bytes);
        ~Reservation();
        Reservation(const Reservation &) = delete;
        Reservation &operator=(const Reservation &) = delete;

      private:
        MemoryBudget &m_budget;
        std::size_t m_bytes;
    };

  private:
    const std::size_t m_total;
    std::size_t m_free;
    std::mutex m_mutex;
    std::condition_variable m_returned;
};

} // namespace platform
