#pragma once

#include "storage/posix/descriptor.h"
#include "storage/status.h"

#include <string>

namespace platform::hive {

// A lock that one thread of one program holds at a time, and that ends with its process. It is a
// range of a file, created if missing, that stays.
class HiveLock {
  public:
    // Waits a few seconds at most; then the result is Busy. Waiters take turns.
    Status acquire(const std::string &path);

  private:
    Descriptor m_file;
};

} // namespace platform::hive
