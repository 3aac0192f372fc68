#pragma once

#include "archive/entryList.h"
#include "platform/packedFiles.h"
#include "storage/storage.h"

#include <QHash>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// An entry as an archive holds or held it.
struct EntryVersion {
    std::string path; // UTF-8, "/" between the folders
    std::uint64_t size = 0;
    std::uint32_t crc = 0;
    bool written = false; // whether the extraction wrote its file
    // With `written`: the file is the user's, and a save has packed it.
    bool edited = false;
    // Not extracted: the user has been told of it.
    bool known = false;

    // The size of an entry that was listed only.
    static constexpr std::uint64_t kUnknownSize = platform::PackedFiles::kAnySize;

    bool sameBytes(const EntryVersion &other) const {
        const bool unknown = size == kUnknownSize || other.size == kUnknownSize;
        return crc == other.crc && (unknown || size == other.size);
    }
};

// What is known about the files of one work folder: the archive that they come from, and for each
// entry what the archive held and which file was written. Stored beside the work folder, so that it
// survives the program and is not packed. Everything works without a record too.
class WorkRecord {
  public:
    struct Archive {
        QString path;            // the real one, in the system's form
        platform::FileInfo seen; // at the extraction, or after the last save
        platform::FileInfo folder{};
        std::int64_t born = 0;       // as Folder::birthTime
        std::int64_t folderBorn = 0; // that of the folder

        // True if this is the archive at `other`, whose content may have changed. At another path
        // it is if nothing has the old one any more, and either the names differ in case at most
        // and the file is still the same one, or the names are the same and the folder is: the
        // folder of the game was moved, or the archive renamed. Identities count only with the
        // time when file or folder were made, or else with size and time of the file: the numbers
        // of deleted ones are used again. An archive on a disk that is not mounted is not the same
        // as one elsewhere. A path of Windows is the same as one of POSIX that ends like it, in
        // two folders and the name at least: both systems share the disk.
        bool isSame(const Archive &other) const;
    };

    struct Entry : EntryVersion {
        std::uint32_t dosTime = 0; // the stored date and time, the date in the upper half
        // If written: any later change of the file shows in its identity, size and times.
        bool timesTell = false;
        // If written: `file` is not what the extraction saw, but what was seen after the attributes
        // were cleared. Another program may have written to it before.
        bool seenLater = false;
        platform::FileInfo file; // if written

        // Whether a save needs not read the file as long as its information is `file`. After a
        // power cut a disk may hold new bytes under old times, so only in the run of the system
        // that has written the file, which started at `systemStart`.
        bool provesContent(std::int64_t systemStart) const {
            return written && timesTell && !seenLater && file.size == size &&
                   file.changed > systemStart;
        }
    };

    // `began` is the time by the work folder's disk after the last file was written; see
    // Folder::newFileInfo.
    WorkRecord(Archive archive, const platform::FileInfo &began)
        : m_archive(std::move(archive)), m_device(began.device), m_began(began.changed) {}

    const Archive &archive() const { return m_archive; }
    void setArchive(Archive archive) { m_archive = std::move(archive); }
    const std::vector<Entry> &entries() const { return m_entries; }
    // Makes room for as many entries, which may save copies of them.
    void reserve(std::size_t count);
    // Leaves none.
    std::vector<Entry> takeEntries() {
        m_indices.clear();
        m_indexed = 0;
        m_next = 0;
        return std::move(m_entries);
    }
    // Null if there is no entry of exactly this path.
    const Entry *find(std::string_view path) const;
    // Adds an entry, in place of one with the same path. Decides `timesTell`.
    void put(Entry entry);

    // The files in the versions that the archive held: `hold` of the result tells whether a file of
    // the work folder is one of these. A version that the user has made is one only if the archive
    // still holds it by `listing`, which may be null.
    platform::PackedFiles knownFiles(const EntryList *listing) const;

    // The archive at a path in the program's form; none if it cannot be examined.
    static std::optional<Archive> archiveAt(const QString &path);

    // The record of the work folder `name` in the folder `folders`, in the program's form. None if
    // it is missing, damaged, of another version or unreadable.
    static std::optional<WorkRecord> read(const QString &folders, const QString &name);
    // Passes the entries of the record to `take`, one by one, in little memory. False if the record
    // counts as none, possibly after some entries.
    static bool readEach(const QString &folders, const QString &name,
                         const std::function<void(const Entry &entry)> &take);
    // The archive of a record alone, which is at its start and at its end: one of these is enough.
    static std::optional<Archive> readArchive(const QString &folders, const QString &name);
    // Whether there is a record, which may be unreadable.
    static bool exists(const QString &folders, const QString &name);
    // Whether there is one of a version that this program does not know.
    static bool isNewer(const QString &folders, const QString &name);
    // Replaces the record atomically; one of a newer version is kept beside it. After a failure,
    // the earlier one is there.
    platform::Status write(const QString &folders, const QString &name) const;
    // Deletes what a killed write() has left.
    static void removeTemporaries(const QString &folders);
    // Deletes the record, if there is one, what write() has kept of a newer version, and these.
    static void remove(const QString &folders, const QString &name);
    // The name of its file, which holds that of the work folder, or its start if it is long.
    static QString fileName(const QString &name);

  private:
    friend class WorkRecordReader;

    WorkRecord() = default;

    // The key of a path in m_indices, or the one that it gets. Completes m_indices.
    std::size_t keyOf(std::string_view path) const;

    Archive m_archive;
    std::uint64_t m_device = 0; // of the time `began`
    std::int64_t m_began = INT64_MIN;
    std::vector<Entry> m_entries;
    // Of m_entries, by the hash of the path; paths with the same hash use the next free numbers.
    // Completed when it is used: a record that was read may never need it.
    mutable QHash<std::size_t, std::uint32_t> m_indices;
    mutable std::uint32_t m_indexed = 0; // entries that it has
    mutable std::size_t m_next = 0; // in m_entries, after the last find: most are in this order
};
