#include "platform/posix/writeBehind.h"

#include <fcntl.h>
#include <system_error>

namespace platform {

WriteBehind::WriteBehind(int from, std::uint64_t fromOffset, int to, std::uint64_t toOffset)
    : m_from(from), m_to(to), m_fromOffset(fromOffset), m_toOffset(toOffset) {
    try {
        m_thread = std::thread([this] { run(); });
    } catch (const std::system_error &) {
        m_ended = true;
    }
}

WriteBehind::~WriteBehind() {
    if (!m_thread.joinable()) {
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_ended = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void WriteBehind::reached(std::uint64_t bytes) {
    {
        const std::lock_guard lock(m_mutex);
        m_copied = bytes;
    }
    m_changed.notify_one();
}

void WriteBehind::run() {
    std::uint64_t done = 0;
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [&] { return m_ended || m_copied > done; });
        const std::uint64_t copied = m_copied;
        if (copied == done) {
            return;
        }
        lock.unlock();
        const auto size = static_cast<off_t>(copied - done);
        // Hints both: a disk that fails says so when the file is synced.
        static_cast<void>(sync_file_range(m_to, static_cast<off_t>(m_toOffset + done), size,
                                          SYNC_FILE_RANGE_WRITE));
        static_cast<void>(posix_fadvise(m_from, static_cast<off_t>(m_fromOffset + done), size,
                                        POSIX_FADV_DONTNEED));
        done = copied;
        lock.lock();
    }
}

} // namespace platform
