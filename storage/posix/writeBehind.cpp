#include "storage/posix/writeBehind.h"

#include <fcntl.h>
#include <system_error>

namespace platform {

namespace {

// A size that a disk writes efficiently.
constexpr std::uint64_t kStep = 8U << 20U;

} // namespace

WriteBehind::WriteBehind(int file, std::uint64_t start) : m_file(file), m_start(start) {
    try {
        m_thread = std::thread([this] { run(); });
    } catch (const std::system_error &) {
        m_ended = true;
    }
}

WriteBehind::~WriteBehind() {
    if (!m_thread.joinable())
        return;
    {
        const std::lock_guard lock(m_mutex);
        m_ended = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void WriteBehind::reached(std::uint64_t bytes) {
    bool enough = false;
    {
        const std::lock_guard lock(m_mutex);
        enough = bytes / kStep != m_copied / kStep;
        m_copied = bytes;
    }
    if (enough)
        m_changed.notify_one();
}

void WriteBehind::run() {
    std::uint64_t done = 0;
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [&] { return m_ended || m_copied >= done + kStep; });
        const std::uint64_t copied = m_copied;
        if (copied == done)
            return;
        lock.unlock();
        const auto size = static_cast<off_t>(copied - done);
        // Only a hint: write errors are reported by the sync.
        static_cast<void>(sync_file_range(m_file, static_cast<off_t>(m_start + done), size,
                                          SYNC_FILE_RANGE_WRITE));
        done = copied;
        lock.lock();
    }
}

} // namespace platform
