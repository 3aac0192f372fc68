#pragma once

#include "ziplib/codec/codec.h"
#include "ziplib/common/buffer.h"
#include "ziplib/format/directory.h"

#include <optional>

namespace ziplib {

// The bytes of the file that an entry of the old archive holds, from the first to the last.
class EntryReader {
  public:
    EntryReader(const platform::InputFile &archive, const Directory &directory, const Entry &entry);

    // Reads exactly `size` bytes. False where the entry ends before, is damaged, encrypted or
    // packed in a way that is not known.
    bool read(std::uint8_t *out, std::size_t size);

  private:
    bool start();
    bool inflateWhole();
    bool inflateOn(std::uint8_t *out, std::size_t size);
    bool readPacked(std::uint8_t *out, std::size_t size);

    const platform::InputFile &m_archive;
    const Directory &m_directory;
    const Entry &m_entry;
    bool m_started = false;
    bool m_usable = false;
    std::uint64_t m_position = 0; // in the archive, of packed data that was not read yet
    std::uint64_t m_left = 0;     // packed bytes from there
    Bytes m_whole;                // all of it, where it is small enough
    std::size_t m_given = 0;      // of m_whole
    std::optional<InflateStream> m_stream;
    Bytes m_packed; // read for the stream
    std::size_t m_taken = 0;
};

} // namespace ziplib
