#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

namespace platform {

// Starts writing a copied file to the disk while the copy continues, so that the final sync takes
// less time. Works in a thread of its own; does nothing if no thread is available.
class WriteBehind {
  public:
    // The descriptor must stay open. The copy begins at `start`.
    WriteBehind(int file, std::uint64_t start);
    // Waits for the write in progress.
    ~WriteBehind();
    WriteBehind(const WriteBehind &) = delete;
    WriteBehind &operator=(const WriteBehind &) = delete;

    // Reports the total number of bytes copied so far.
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
