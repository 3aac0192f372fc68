#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

namespace platform {

// Lets the disk write what is being copied into a file while the copying goes on, so that a sync
// after it has little left to wait for. Works in a thread of its own; where none can be had,
// nothing is begun early.
class WriteBehind {
  public:
    // The descriptor stays open, and belongs to others. The copy begins at `start`.
    WriteBehind(int file, std::uint64_t start);
    // Waits for what is being handed to the disk.
    ~WriteBehind();
    WriteBehind(const WriteBehind &) = delete;
    WriteBehind &operator=(const WriteBehind &) = delete;

    // Tells that so many bytes have been copied in all.
    void reached(std::uint64_t bytes);

  private:
    void run();

    const int m_file;
    const std::uint64_t m_start;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::uint64_t m_copied = 0;
    bool m_ended = false;
    std::thread m_thread;
};

} // namespace platform
