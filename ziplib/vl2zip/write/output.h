#pragma once

#include "storage/storage.h"
#include "ziplib/common/buffer.h"
#include "ziplib/common/returnCode.h"

#include <functional>
#include <string>
#include <string_view>

namespace ziplib {

// Writes the new archive sequentially. Small writes are buffered, so that an entry does not need a
// system call of its own.
class Output {
  public:
    // `name` is the archive's, for messages. copy() calls `idle` on its caller's thread.
    Output(platform::NewFile &file, std::string name, std::function<void()> idle);

    std::uint64_t position() const { return m_written + m_buffer.size(); }
    Status append(const void *data, std::size_t size);
    Status append(std::string_view data) { return append(data.data(), data.size()); }
    // Appends a range of the old archive.
    Status copy(const platform::InputFile &old, std::uint64_t offset, std::uint64_t size);
    // Overwrites bytes that were appended before.
    Status patch(std::uint64_t offset, std::string_view data);
    // Truncates the archive to `position`.
    Status rewind(std::uint64_t position);
    Status flush();

  private:
    Status failed(const Status &status) const;

    platform::NewFile &m_file;
    std::string m_name;
    std::function<void()> m_idle;
    std::uint64_t m_written = 0;
    Bytes m_buffer;
};

} // namespace ziplib
