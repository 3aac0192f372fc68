#include "ziplib/common/backgroundTask.h"

#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

namespace ziplib {

BackgroundTask::~BackgroundTask() {
    if (m_work.valid())
        m_work.wait();
}

bool BackgroundTask::start(std::function<void()> work) {
    try {
        m_work = std::async(std::launch::async, std::move(work));
        return true;
    } catch (const std::system_error &) {
        return false;
    }
}

void BackgroundTask::wait(const std::function<void()> &idle) {
    constexpr std::chrono::milliseconds kPeriod{20};
    while (m_work.valid() && m_work.wait_for(kPeriod) == std::future_status::timeout)
        idle();
    if (m_work.valid())
        m_work.get();
}

void runInBackground(const std::vector<std::function<void()>> &functions,
                     const std::function<void()> &idle) {
    std::vector<BackgroundTask> tasks(functions.size());
    for (std::size_t i = 0; i < functions.size(); ++i)
        if (!tasks[i].start(functions[i]))
            functions[i]();
    for (auto &task : tasks)
        task.wait(idle);
}

std::function<void()> onThisThread(std::function<void()> function) {
    return [function = std::move(function), own = std::this_thread::get_id()] {
        if (std::this_thread::get_id() == own)
            function();
    };
}

} // namespace ziplib
