#include "storage/lockWait.h"

#include <thread>
#include <utility>

namespace platform {

LockWait::LockWait(std::chrono::milliseconds wait, const KeepGoing &keepGoing, std::string path)
    : m_end(std::chrono::steady_clock::now() + wait), m_keepGoing(keepGoing),
      m_path(std::move(path)) {}

Status LockWait::pause(std::chrono::milliseconds length) const {
    if (m_keepGoing && !m_keepGoing())
        return {Failure::Cancelled, "cancelled", m_path};
    if (std::chrono::steady_clock::now() >= m_end)
        return {Failure::Busy, m_path + " is in use by another program", m_path};
    std::this_thread::sleep_for(length);
    return {};
}

} // namespace platform
