#pragma once

#include "storage/storage.h"
#include "ziplib/codec/lineEnds.h"
#include "ziplib/vl2uzip/ownFiles.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

namespace ziplib {

// Whether a disk keeps the times that are set on its files.
enum class Times { Unknown, Kept, Lost };

// Writes an entry's data to a new file, which gets its name in finish() and is removed without it.
// On a disk that does not keep times the data is synced first: a file that a power cut truncated
// and that has another time than its entry would look like an edited one.
class FileSink {
  public:
    struct Target {
        const platform::Folder &folder;
        std::atomic<Times> &times; // of the disk; the first file shows it
        std::string name;
        platform::NewFile::Replace replace = platform::NewFile::Replace::No;
        std::int64_t modified = 0; // nanoseconds since 1970, UTC
        std::uint8_t attributes = 0;
        // Convert line ends if the data is text: known from the archive, or it looks like text.
        bool convert = false;
        bool knownText = false;
        OwnFiles *own = nullptr; // receives the file before it has its name; may be null
        platform::FileInfo *named = nullptr; // receives the file with its name; may be null
    };

    explicit FileSink(const Target &target) : m_target(target) {}

    platform::Status write(const std::uint8_t *data, std::size_t size);
    platform::Status finish();

  private:
    platform::Status start(const std::uint8_t *data, std::size_t size);
    bool keepsTime();

    const Target &m_target;
    platform::NewFile m_file;
    bool m_started = false;
    std::optional<LineEndConverter> m_lineEnds;
};

} // namespace ziplib
