#pragma once

#include "archive/entryList.h"
#include "archive/recordEntries.h"
#include "archive/recordEntry.h"
#include "platform/packedFiles.h"
#include "storage/storage.h"

#include <QString>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

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

    using Entry = RecordEntry;

    // `began` is the time by the work folder's disk after the last file was written; see
    // Folder::newFileInfo.
    WorkRecord(Archive archive, const platform::FileInfo &began)
        : m_archive(std::move(archive)), m_device(began.device), m_began(began.changed) {}

    const Archive &archive() const { return m_archive; }
    void setArchive(Archive archive) { m_archive = std::move(archive); }
    // In the order in which put() added them; valid until its next call.
    const RecordEntries &entries() const;
    // Makes room for as many entries, which may save copies of them.
    void reserve(std::size_t count) { m_entries.reserve(count); }
    // Adds an entry, in place of one with the same path. Decides `timesTell`.
    void put(Entry entry);
    // Replaces each entry for whose path `find` returns another one of that path, not null. Calls
    // the idle handler.
    void replace(const std::function<const Entry *(const std::string &path)> &find);

    // The files in the versions that the archive held: `hold` of the result tells whether a file of
    // the work folder is one of these. A version that the user has made is one only if the archive
    // still holds it by `listing`, which may be null.
    platform::PackedFiles knownFiles(const EntryList *listing) const;

    // The archive at a path in the program's form; none if it cannot be examined.
    static std::optional<Archive> archiveAt(const QString &path);

    // The record of the work folder `name` in the folder `folders`, in the program's form. None if
    // it is missing, damaged, of another version or unreadable.
    static std::optional<WorkRecord> read(const QString &folders, const QString &name);
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
    WorkRecord() = default;

    Entry judged(Entry entry) const;
    // Of entries with the same path, keeps the last one, in the place of the first.
    void merge() const;

    Archive m_archive;
    std::uint64_t m_device = 0; // of the time `began`
    std::int64_t m_began = INT64_MIN;
    // Merged when they are used: until then, put() has nothing to seek.
    mutable RecordEntries m_entries;
    mutable std::size_t m_merged = 0; // entries at the start of m_entries whose paths differ
};
