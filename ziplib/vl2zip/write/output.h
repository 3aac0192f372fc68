#pragma once

#include "storage/storage.h"
#include "ziplib/common/buffer.h"
#include "ziplib/common/returnCode.h"

#include <functional>
#include <string>
#include <string_view>

namespace ziplib {

// The new archive while it is written from its first byte to its last. Small pieces are gathered,
// so that an entry does not cost a system call.
class Output {
  public:
    // `name` is the archive's, for messages. `idle` is called while a copy takes its time, on the
    // thread that asked for it; nothing else calls it.
    Output(platform::NewFile &file, std::string name, std::function<void()> idle);

    std::uint64_t position() const { return m_written + m_gathered.size(); }
    Status append(const void *data, std::size_t size);
    Status append(std::string_view data) { return append(data.data(), data.size()); }
    // Appends a range of the old archive.
    Status copy(const platform::InputFile &old, std::uint64_t offset, std::uint64_t size);
    // Writes over bytes that were appended before.
    Status patch(std::uint64_t offset, std::string_view data);
    // Drops everything from `position` on.
    Status rewind(std::uint64_t position);
    Status flush();

    // What a failed step of the new archive means.
    Status failed(const Status &status) const;

  private:
    platform::NewFile &m_file;
    std::string m_name;
    std::function<void()> m_idle;
    std::uint64_t m_written = 0;
    Bytes m_gathered;
};

} // namespace ziplib
