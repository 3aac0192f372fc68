#pragma once

#include <functional>
#include <future>
#include <vector>

namespace ziplib {

using Pieces = std::vector<std::function<void()>>;

// Does pieces of work side by side, each on a thread of its own, and calls `idle` about every 20 ms
// on this one until all are done. Does them here where no thread is to be had.
void runInBackground(const Pieces &pieces, const std::function<void()> &idle);

// One piece of work on a thread of its own that goes on while the caller does something else.
class BackgroundTask {
  public:
    BackgroundTask() = default;
    ~BackgroundTask();
    BackgroundTask(const BackgroundTask &) = delete;
    BackgroundTask &operator=(const BackgroundTask &) = delete;

    // False where no thread is to be had; nothing is done then.
    bool start(std::function<void()> work);
    // Returns once the work is done, if any was begun, and throws what it threw. Calls `idle` about
    // every 20 ms.
    void wait(const std::function<void()> &idle);

  private:
    std::future<void> m_work;
};

} // namespace ziplib
