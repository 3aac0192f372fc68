#pragma once

#include "storage/storage.h"

#include <chrono>
#include <string>

namespace platform {

// The wait for a lock that another program holds.
class LockWait {
  public:
    // Waits up to `wait` in all. `path` is the locked file, for messages.
    LockWait(std::chrono::milliseconds wait, const KeepGoing &keepGoing, std::string path);

    // Sleeps until the next attempt is due. Cancelled by `keepGoing`; Busy after the wait.
    Status pause(std::chrono::milliseconds length = std::chrono::milliseconds(10)) const;

  private:
    const std::chrono::steady_clock::time_point m_end;
    const KeepGoing &m_keepGoing;
    const std::string m_path;
};

} // namespace platform
