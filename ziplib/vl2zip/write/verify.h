#pragma once

#include "ziplib/common/returnCode.h"
#include "ziplib/vl2zip/write/archiveReplacement.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace ziplib {

// The expected central directory of the new archive, to be compared with the written one. Stores a
// digest of the records instead of their bytes.
class ExpectedDirectory {
  public:
    // Adds the next record, whose entry starts at `offset` in the file. `written` is false if the
    // entry was copied from the old archive.
    void add(std::string_view record, std::uint64_t offset, bool written);
    std::uint64_t entries() const { return m_entries; }

    // Reads the new archive's directory and compares each record, in order; also checks that each
    // written entry starts with a local header. `size` is the expected size of the file.
    Status check(ArchiveReplacement &target, std::uint64_t size,
                 const std::function<void()> &idle) const;

  private:
    std::uint64_t m_entries = 0;
    std::uint32_t m_records = 0;
    std::uint64_t m_offsets = 0;
    std::vector<std::uint64_t> m_written;
};

} // namespace ziplib
