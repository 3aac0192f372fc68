#include "ziplib/common/backgroundTask.h"

#include "ziplib/common/orderedParallelFor.h"

#include <chrono>
#include <system_error>
#include <utility>

namespace ziplib {

void runInBackground(const Pieces &pieces, const std::function<void()> &idle) {
    // Enough that a thread takes one alone.
    constexpr std::uint64_t kCost = 1U << 30U;
    OrderedParallelFor work;
    work.count = pieces.size();
    work.cost = [](std::size_t) { return kCost; };
    work.work = [&](std::size_t i) { pieces[i](); };
    work.take = [](std::size_t) { return true; };
    work.idle = idle;
    orderedParallelFor(work, static_cast<unsigned>(pieces.size()), UINT64_MAX);
}

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

} // namespace ziplib
