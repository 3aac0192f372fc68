#pragma once

#include <functional>
#include <future>
#include <vector>

namespace ziplib {

// A function that runs on a thread of its own.
class BackgroundTask {
  public:
    BackgroundTask() = default;
    ~BackgroundTask();
    BackgroundTask(const BackgroundTask &) = delete;
    BackgroundTask &operator=(const BackgroundTask &) = delete;

    // False if no thread can be started; nothing runs then.
    bool start(std::function<void()> work);
    // Returns once the function has ended, if one was started, and rethrows its exception. Calls
    // `idle` about every 20 ms.
    void wait(const std::function<void()> &idle);

  private:
    std::future<void> m_work;
};

// Runs functions in parallel and calls `idle` about every 20 ms on the caller's thread until all
// have ended. Runs them on the caller's thread if no other can be started.
void runInBackground(const std::vector<std::function<void()>> &functions,
                     const std::function<void()> &idle);

// A function that calls `function` on the thread that made it and does nothing on others: for work
// that may run on the caller's thread.
std::function<void()> onThisThread(std::function<void()> function);

} // namespace ziplib
