#pragma once

#include "storage/storage.h"

#include <QHash>
#include <QString>
#include <QStringView>

#include <cstddef>
#include <cstdint>

namespace platform {

// The files that a save has put into an archive, each in the version that is in it, for whoever
// deletes them afterwards. Takes some 40 bytes a file.
class PackedFiles {
  public:
    // `path` is relative to the work folder. `seen` is the file as it was read, `crc` the CRC-32 of
    // its bytes, `began` the time by its disk's clock before it was read (INT64_MIN: not known).
    // With a size of `anySize`, files of every size are compared by their bytes.
    static constexpr std::uint64_t kAnySize = UINT64_MAX;
    void add(QStringView path, const FileInfo &seen, std::uint32_t crc, std::int64_t began);

    // Whether the disk's clock has not been set back since the files were read: from then on the
    // stamp of a later change may be one that was given before.
    bool isClockRunning(const Folder &workFolder) const;

    // Whether the archive holds what lies at this path, which is known to be `now`. The file's
    // identity, size and times prove it where every change shows in them and `timesTell`. Else, and
    // where they differ, its bytes do, if there are as many: `open` then opens the file. Letter
    // case, separators and blanks at the ends of names make no difference to a path.
    bool hold(QStringView path, const FileInfo &now, bool timesTell, const OpenInput &open) const;

  private:
    struct Packed {
        std::uint64_t version = 0; // hash of identity and times
        std::uint64_t size = 0;
        std::uint32_t crc = 0;
        bool timesTell = false;
    };
    // By the hash of the path. Paths that are alike, such as those that differ in case only, take
    // the next free numbers.
    QHash<std::uint64_t, Packed> m_files;
    std::int64_t m_began = INT64_MIN;
};

} // namespace platform
