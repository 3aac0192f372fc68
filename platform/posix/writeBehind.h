#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

namespace platform {

// Lets the disk write what is being copied from one file to another while the copying goes on, so
// that a sync after it has little left to wait for, and gives back the memory that held what was
// copied. Works in a thread of its own; where none can be had, nothing is begun early.
class WriteBehind {
  public:
    // Both descriptors stay open, and belong to others. The copy goes from one offset to the other.
    WriteBehind(int from, std::uint64_t fromOffset, int to, std::uint64_t toOffset);
    // Waits for what is being handed to the disk.
    ~WriteBehind();
    WriteBehind(const WriteBehind &) = delete;
    WriteBehind &operator=(const WriteBehind &) = delete;

    // Tells that so many bytes have been copied in all.
    void reached(std::uint64_t bytes);

  private:
    void run();

    const int m_from;
    const int m_to;
    const std::uint64_t m_fromOffset;
    const std::uint64_t m_toOffset;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::uint64_t m_copied = 0;
    bool m_ended = false;
    std::thread m_thread;
};

} // namespace platform
