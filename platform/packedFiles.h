#pragma once

#include "storage/storage.h"

#include <QStringView>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace platform {

// The files that a save has written to an archive, and which version of each. The clean-up deletes
// only these. Needs 24 bytes a file.
class PackedFiles {
  public:
    // `path` is relative to the work folder. `seen` is the file's information at the time of
    // reading, `crc` the CRC-32 of its content, `began` the time by its disk's clock before it was
    // read (INT64_MIN: unknown). With the size kAnySize, files of any size are compared by content.
    // With `checksWriters`, a file counts as held only while no program has it open for writing,
    // and hold() makes those that open it wait until it is closed.
    static constexpr std::uint64_t kAnySize = UINT64_MAX;
    void add(QStringView path, const FileInfo &seen, std::uint32_t crc, std::int64_t began,
             bool checksWriters = false);
    // Makes room for as many files.
    void reserve(std::size_t count) { m_files.reserve(count); }

    // Whether every change since then shows in identity, size and times of a file that was read in
    // the version `seen`. `began` as in add().
    static bool timesProve(const FileInfo &seen, std::int64_t began) {
        return seen.changed < began;
    }

    // Whether the disk's clock has not been set back since the files were read. If it has, a later
    // change may get an earlier time stamp.
    bool isClockRunning(const Folder &workFolder) const;

    // Whether the archive holds the current version of a file, whose information is `now`.
    // Identity, size and times prove it if every change shows in them and `timesTell`. Otherwise,
    // or if they differ, files of the same size are compared by content, through `open`. Letter
    // case, separators and trailing blanks of names are ignored in paths. As soon as `stop` is set,
    // if given, the reading ends, and the result is false.
    bool hold(QStringView path, const FileInfo &now, bool timesTell, const OpenInput &open,
              const std::atomic<bool> *stop = nullptr) const;

  private:
    struct Packed {
        std::uint64_t key : 61; // hash of the path, the same for equivalent ones
        std::uint64_t hasAnySize : 1;
        std::uint64_t timesTell : 1;
        std::uint64_t checksWriters : 1;
        std::uint64_t version; // hash of identity and times
        std::uint32_t size;    // the lower half
        std::uint32_t content; // CRC-32, changed by the upper half of the size
    };
    using Range =
        std::pair<std::vector<Packed>::const_iterator, std::vector<Packed>::const_iterator>;

    // The versions of a path.
    Range versionsOf(QStringView path) const;

    // Sorted by the first of several threads that seek in it.
    struct Sorting {
        std::mutex mutex;
        std::atomic<bool> isDone = true;
    };
    std::unique_ptr<Sorting> m_sorting = std::make_unique<Sorting>();
    mutable std::vector<Packed> m_files;
    std::int64_t m_began = INT64_MIN;
};

} // namespace platform
