#pragma once

#include "storage/storage.h"
#include "ziplib/codec/lineEnds.h"
#include "ziplib/vl2uzip/ownFiles.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

namespace ziplib {

// Whether a disk keeps the times that its files are given.
enum class Times { Unknown, Kept, Lost };

// Writes an entry's data to a new file, which gets its name in finish() and is gone without it. On
// a disk that loses times the data is made durable first: what a power cut leaves of a file that
// has not its entry's time cannot be told from an edit.
class FileSink {
  public:
    struct ArchiveReplacement {
        const platform::Folder &folder;
        std::atomic<Times> &times; // of the disk, found out with the first file
        std::string name;
        platform::NewFile::Replace replace = platform::NewFile::Replace::No;
        std::int64_t modified = 0; // nanoseconds since 1970, UTC
        std::uint8_t attributes = 0;
        // Convert line ends where the data is text: what the archive says, or else its looks.
        bool convert = false;
        bool knownText = false;
        OwnFiles *own = nullptr; // gets the file before it has its name
    };

    explicit FileSink(const ArchiveReplacement &target) : m_target(target) {}

    platform::Status write(const std::uint8_t *data, std::size_t size);
    platform::Status finish();

  private:
    platform::Status start(const std::uint8_t *data, std::size_t size);
    bool keepsTime();

    const ArchiveReplacement &m_target;
    platform::NewFile m_file;
    bool m_started = false;
    std::optional<LineEndConverter> m_lineEnds;
};

} // namespace ziplib
