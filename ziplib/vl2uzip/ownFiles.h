#pragma once

#include "storage/storage.h"

#include <cstdint>
#include <mutex>
#include <set>
#include <utility>

namespace ziplib {

// The files that a call has written or is about to replace, by device and file number: two names
// that the disk treats as one lead to the same number. Thread-safe.
class OwnFiles {
  public:
    void add(const platform::FileInfo &file) {
        const std::lock_guard lock(m_mutex);
        m_files.emplace(file.device, file.id);
    }

    bool holds(const platform::FileInfo &file) const {
        const std::lock_guard lock(m_mutex);
        return m_files.count({file.device, file.id}) != 0;
    }

  private:
    mutable std::mutex m_mutex;
    std::set<std::pair<std::uint64_t, std::uint64_t>> m_files;
};

} // namespace ziplib
