#include "ziplib/vl2zip/background.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

namespace ziplib {

void runInBackground(const std::function<void()> &work, const std::function<void()> &idle) {
    constexpr std::chrono::milliseconds kPeriod{20};
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
    std::exception_ptr thrown;
    std::thread worker;
    try {
        worker = std::thread([&] {
            try {
                work();
            } catch (...) {
                thrown = std::current_exception();
            }
            const std::lock_guard lock(mutex);
            done = true;
            changed.notify_one();
        });
    } catch (const std::system_error &) {
        work();
        return;
    }
    {
        std::unique_lock lock(mutex);
        while (!changed.wait_for(lock, kPeriod, [&] { return done; })) {
            lock.unlock();
            idle();
            lock.lock();
        }
    }
    worker.join();
    if (thrown) {
        std::rethrow_exception(thrown);
    }
}

} // namespace ziplib
