#pragma once

#include "storage/storage.h"

#include <QHash>
#include <QString>
#include <QStringView>

#include <cstddef>
#include <cstdint>

namespace platform {

// The files that a save has written to an archive, and which version of each. The clean-up deletes
// only these. Needs some 40 bytes a file.
class PackedFiles {
  public:
    // `path` is relative to the work folder. `seen` is the file's information at the time of
    // reading, `crc` the CRC-32 of its content, `began` the time by its disk's clock before it was
    // read (INT64_MIN: unknown). With the size kAnySize, files of any size are compared by content.
    // With `checksWriters`, a file counts as held only once no program has it open for writing.
    static constexpr std::uint64_t kAnySize = UINT64_MAX;
    void add(QStringView path, const FileInfo &seen, std::uint32_t crc, std::int64_t began,
             bool checksWriters = false);

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
    // case, separators and trailing blanks of names are ignored in paths.
    bool hold(QStringView path, const FileInfo &now, bool timesTell, const OpenInput &open) const;

  private:
    struct Packed {
        std::uint64_t version = 0; // hash of identity and times
        std::uint64_t size = 0;
        std::uint32_t crc = 0;
        bool timesTell = false;
        bool checksWriters = false;
    };
    // By the hash of the path. Equivalent paths, such as those that differ in case only, use the
    // next free numbers.
    QHash<std::uint64_t, Packed> m_files;
    std::int64_t m_began = INT64_MIN;
};

} // namespace platform
