#pragma once

#include "ziplib/common/returnCode.h"
#include "ziplib/vl2zip/write/archiveReplacement.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace ziplib {

// What the directory of the new archive must say when it is read back. Of the records, a digest is
// kept in the place of the bytes.
class ExpectedDirectory {
  public:
    // The next record, and where its entry starts in the file. `written` tells that the entry is
    // not one that was copied.
    void add(const std::string &record, std::uint64_t offset, bool written);
    std::uint64_t entries() const { return m_entries; }

    // Reads the new archive as any other and compares: every record, in order, and that each
    // written entry starts with a header. `size` is the file's.
    Status check(ArchiveReplacement &target, std::uint64_t size,
                 const std::function<void()> &idle) const;

  private:
    std::uint64_t m_entries = 0;
    std::uint32_t m_records = 0;
    std::uint64_t m_offsets = 0;
    std::vector<std::uint64_t> m_written;
};

} // namespace ziplib
