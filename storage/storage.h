#pragma once

#include "storage/status.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Files and folders by handle. All texts are UTF-8: paths, names, and messages with the system's
// error text. Nothing here throws, except if memory is exhausted.
namespace platform {

// DOS attribute bits. Read-only is a file without write permission; hidden and system are stored in
// the form of the system. Systems set archive by themselves: it is stored only with another
// attribute and never reported, so that the same edits give the same archive everywhere.
constexpr std::uint8_t kAttributeNormal = 0;
constexpr std::uint8_t kAttributeReadOnly = 0x01;
constexpr std::uint8_t kAttributeHidden = 0x02;
constexpr std::uint8_t kAttributeSystem = 0x04;
constexpr std::uint8_t kAttributeFolder = 0x10;
constexpr std::uint8_t kAttributeArchive = 0x20;

struct FileInfo {
    enum class Kind : std::uint8_t { File, Folder, Link, Other };

    Kind kind = Kind::Other;
    bool readOnly = false;
    // The file has none of the attributes that Folder::clearAttributes clears. False if unknown:
    // only NewFile knows it on every system.
    bool plain = false;
    std::uint64_t size = 0;
    std::int64_t modified = 0; // nanoseconds since 1970, UTC
    // Time of the last change of the file or of its metadata; `modified` on disks without such a
    // time.
    std::int64_t changed = 0;
    std::uint64_t device = 0; // device and id together identify a file
    std::uint64_t id = 0;
};

inline bool sameFile(const FileInfo &a, const FileInfo &b) {
    return a.device == b.device && a.id == b.id;
}

// True if both are the same version of the same file.
inline bool sameVersion(const FileInfo &a, const FileInfo &b) {
    return sameFile(a, b) && a.size == b.size && a.modified == b.modified && a.changed == b.changed;
}

// The path of a file or folder below another folder.
struct Location {
    std::string folder; // whole path; "" is the current folder
    std::string below;  // "/" between the components; "" is the folder itself

    std::string path() const;
};

// Called between the steps of a long operation: false ends it with Failure::Cancelled.
using KeepGoing = std::function<bool()>;

class Disk;
class InputFile;
// Opens a certain file; null if it cannot be opened or has been replaced. The file stays open as
// long as its owner, who made the function, needs it.
using OpenInput = std::function<InputFile *()>;

// A file open for reading at any position, by several threads at once.
class InputFile {
  public:
    InputFile() = default;
    ~InputFile() { close(); }
    InputFile(InputFile &&other) noexcept;
    InputFile &operator=(InputFile &&other) noexcept;
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;

    // Opens a file, following links. WrongKind for anything but an ordinary file; does not block.
    Status open(const std::string &path);
    // The same; returns the file's information.
    Status open(const std::string &path, FileInfo &info);
    Status open(const Location &location, FileInfo &info);
    bool isOpen() const { return m_handle != -1; }
    void close();

    // Reads up to `size` bytes at `offset`; `got` is smaller only at the end of the file.
    Status readAt(std::uint64_t offset, void *data, std::size_t size, std::size_t &got) const;
    // The file's current information.
    Status info(FileInfo &info) const;
    // As Folder::isRemote.
    bool isRemote() const;
    // Whether another program has the file, of this device, open for writing; false if the system
    // does not tell.
    bool isOpenForWriting(std::uint64_t device) const;
    // False if it is. Otherwise a program that opens it for writing waits from now on, where the
    // system can make it wait, until this file is closed or some time has passed.
    bool holdOffWriters(std::uint64_t device);
    // Whether no program has tried that since holdOffWriters(), as far as the system tells.
    bool heldOffWriters() const;
    // Advises the system to drop the file's content from its cache.
    void dropCache() const;
    // Hidden, system and read-only.
    Status attributes(std::uint8_t &attributes) const;
    // Takes an exclusive advisory lock, which ends when the file is closed. Waits up to `wait`,
    // calling `keepGoing` at least every 40 ms; Busy after that. Uses the best lock that the disk
    // supports; ok if it supports none.
    Status lock(std::chrono::milliseconds wait, const KeepGoing &keepGoing = {});
    const std::string &path() const { return m_path; }

  private:
    friend class Folder;
    friend class NameLock;
    friend class NewFile;

    std::intptr_t m_handle = -1;
    bool m_holdsOff = false; // holdOffWriters() has had an effect
    std::string m_path;
};

struct FolderItem {
    std::string name;
    FileInfo::Kind kind = FileInfo::Kind::Other;
    std::uint8_t attributes = 0; // if the listing contains them (Windows)
};

// An open folder. Operations refer to this very folder, even if its path changes. Names are single
// components; links are followed only if requested.
class Folder {
  public:
    enum class Links { Refuse, Follow };

    Folder() = default;
    ~Folder() { close(); }
    Folder(Folder &&other) noexcept;
    Folder &operator=(Folder &&other) noexcept;
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    // Opens a folder by its path ("" is the current one), following links.
    Status open(const std::string &path);
    Status open(const Location &location);
    // Opens a folder directly in this one. WrongKind for a file or a link.
    Status openFolder(const std::string &name, Folder &folder) const;
    // Makes a folder in this one. Exists if there is anything of that name.
    Status makeFolder(const std::string &name) const;
    // Opens an ordinary file of this folder. WrongKind for anything else; does not block.
    Status openFile(const std::string &name, InputFile &file, Links links = Links::Refuse) const;
    // The same; returns the file's information.
    Status openFile(const std::string &name, InputFile &file, Links links, FileInfo &info) const;
    // The information on a file or folder; of a link itself unless followed.
    Status info(const std::string &name, FileInfo &info, Links links = Links::Refuse) const;
    // When a file or folder was made, in nanoseconds since 1970; 0 if the disk does not tell. With
    // the identity, whose numbers are used again after a deletion, it identifies one for all time.
    std::int64_t birthTime(const std::string &name) const;
    // Whether a call may wait long for this disk, as for a file server: also true for each disk
    // that is not known to be of this machine.
    bool isRemote() const;
    // Whether the system caches file information of this disk for a while, as it does for a file
    // server.
    bool keepsInfo() const;
    // Whether every write to a file of this disk, also through a memory mapping, sets its `changed`
    // from a clock with small steps, if the disk stores them.
    bool stampsWrites() const;
    // Like info, but bypasses that cache.
    Status freshInfo(const std::string &name, FileInfo &info, Links links = Links::Refuse) const;
    // The information on a new file that is created and dropped here. Its `modified` and `changed`
    // are the current time of the disk's own clock, in that clock's resolution: any later change on
    // this disk gets this time or a later one. `changed` is INT64_MIN if the disk stores no time of
    // the last change: a program that sets `modified` can hide a change there.
    Status newFileInfo(FileInfo &info) const;
    // The entries of the folder except "." and "..", in no particular order.
    Status list(std::vector<FolderItem> &items) const;
    // The same with the information on each, as by info(); of the kind Other if unavailable. On
    // Windows no file is opened for it: as long as one is open, its name cannot be used again after
    // another program has deleted it.
    Status list(std::vector<FolderItem> &items, std::vector<FileInfo> &infos) const;
    Status removeFile(const std::string &name) const;
    Status removeFolder(const std::string &name) const;
    // Decides whether a file is removed, by its information or that of a link's target. `open`
    // opens this very file, which stays open until it is removed or kept.
    using RemoveCheck = std::function<bool(const FileInfo &info, const OpenInput &open)>;
    // Removes a file if `mayRemove` is true; Busy if not, or if another program has written to the
    // file or replaced it in between, as far as the system tells. `fresh`: asks as freshInfo does.
    Status removeFileIf(const std::string &name, bool fresh, const RemoveCheck &mayRemove) const;
    // Clears read-only, hidden, system and archive of a file. WrongKind for anything else.
    // `cleared` receives the file's information afterwards.
    Status clearAttributes(const std::string &name, FileInfo *cleared = nullptr) const;
    // Hidden and system of an item of list(); of a link itself.
    std::uint8_t recordedAttributes(const FolderItem &item) const;
    // Free space on this folder's disk in bytes.
    Status freeSpace(std::uint64_t &bytes) const;
    // Syncs the folder, as far as its device supports it.
    Status sync() const;
    // Removes temporaries of runs that were killed, except those that a running program holds.
    void removeStaleTemporaries() const;
    bool isOpen() const { return m_handle != -1; }
    void close();
    const std::string &path() const { return m_path; }
    // The path of a file in this folder, for messages.
    std::string pathOf(const std::string &name) const;

  private:
    friend class NameLock;
    friend class NewFile;

    // Opens a file for a RemoveCheck. Busy if it is not the one of `info`.
    Status openSame(const std::string &name, Links links, const FileInfo &info,
                    InputFile &file) const;
    // What the folder's disk supports (POSIX).
    Disk &disk() const;

    mutable std::atomic<Disk *> m_disk{nullptr}; // null until disk() is called
    std::intptr_t m_handle = -1;
    std::string m_path;
};

// An exclusive lock on a name of a folder, independent of the file of that name: a lock file. The
// system releases it when the process ends. A disk without locks supports none, and in a folder
// without write permission nothing is locked: then nothing is held, without an error.
class NameLock {
  public:
    NameLock() = default;
    ~NameLock() { release(); }
    NameLock(const NameLock &) = delete;
    NameLock &operator=(const NameLock &) = delete;

    // The lock of a program that replaces the file of that name. If a lock on the file itself is
    // sufficient, because a rename can safely replace an open file on this disk, this lock is not
    // taken. Waits up to `wait`, calling `keepGoing` at least every 40 ms; Busy after that.
    // `folder` must outlive the lock.
    Status take(const Folder &folder, const std::string &name, std::chrono::milliseconds wait,
                const KeepGoing &keepGoing = {});
    // The lock of a program that works on what the name stands for, on every disk, without waiting.
    // `note` says who holds it. If another program holds it, the result is Busy and `holder` its
    // note, or "" if unknown. `folder` must outlive the lock.
    Status hold(const Folder &folder, const std::string &name, const std::string &note,
                std::string &holder);
    bool isHeld() const { return m_file.isOpen(); }
    // Whether the lock that is held is the one that others find in `folder`. If the lock file was
    // removed by hand, with or without its folder, it is not.
    bool isHeldIn(const Folder &folder) const;
    void release();

  private:
    // Whether others may read the lock file.
    enum class Content { Empty, Note };
    Status acquire(const Folder &folder, const std::string &name, Content content,
                   std::chrono::milliseconds wait, const KeepGoing &keepGoing);
    void writeNote(const std::string &note);

    const Folder *m_folder = nullptr;
    std::string m_lockFile;
    InputFile m_file;
};

// True for the reserved names of temporaries: ".orvel-<hex>.part". No other file has such a name.
bool isTemporaryName(std::string_view name);
// True for the names that clients of FUSE and NFS give to a deleted file as long as a program has
// it open: ".fuse_hidden<hex>", ".nfs<hex>". The client deletes it when it is closed.
bool isNameOfDeleted(std::string_view name);

// A file that is written without a name, or under a reserved one, and renamed once it is complete.
// Without a commit nothing of it is left.
class NewFile {
  public:
    enum class Replace { No, Yes };
    enum class Guard { None, Locked };

    NewFile() = default;
    ~NewFile() { discard(); }
    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;

    // Creates a file. `folder` must outlive it. Locked protects it from removeStaleTemporaries.
    Status create(const Folder &folder, Guard guard = Guard::None);
    // Appends.
    Status write(const void *data, std::size_t size);
    Status writeAt(std::uint64_t offset, const void *data, std::size_t size);
    // Appends a range of another file, by shared blocks or a copy inside the kernel if supported.
    // EndsEarly if the other file has fewer bytes. The disk may begin to write during the copy, and
    // the other file's range may be dropped from the cache.
    Status copyFrom(const InputFile &source, std::uint64_t offset, std::uint64_t size,
                    const KeepGoing &keepGoing = {});
    // Truncates the file to `size` bytes.
    Status truncate(std::uint64_t size);
    // Opens the file for reading.
    Status openWritten(InputFile &file) const;
    std::uint64_t size() const { return m_size; }
    // The file's current information.
    Status info(FileInfo &info) const;
    // Nanoseconds since 1970, UTC.
    Status setModified(std::int64_t modified);
    Status setAttributes(std::uint8_t attributes);
    // Copies permissions, owner and attributes as far as the system permits.
    void takeOverFrom(const InputFile &other);
    // Copies time and attributes, on POSIX also mode and extended attributes.
    Status copyProperties(const InputFile &other);
    // A file that root creates in the folder of another user belongs to that user.
    void giveToFolderOwner();
    // Syncs the content, as far as the device supports it.
    Status sync();
    // Gives the file its name and closes it. Exists if there is a file of that name and it is not
    // to be replaced; WrongKind if it is a folder. A failed commit leaves nothing behind.
    // `replaced` is the replaced file if the caller has it open: it is closed if the disk cannot
    // safely replace an open file. Exists as well if another file has taken its name. If
    // the disk has lost the replaced file and refuses the rename, the new file is kept beside it,
    // under the name in the message. `named` receives the information on the file under its name,
    // or none of the kind File if unavailable.
    Status commit(const std::string &name, Replace replace, InputFile *replaced = nullptr,
                  FileInfo *named = nullptr);
    void discard();

  private:
    // Renames the file to `name`; Exists if there is one.
    Status takeFreeName(const std::string &name);
    Status replaceFile(const std::string &name, InputFile *replaced);
    // Renames the temporary to a name similar to `name` that later runs do not remove.
    Status setAside(const std::string &name);
    // Keeps the temporary, because no other complete file exists. Returns `failed` with its path.
    Status keep(const std::string &name, const Status &failed);

    const Folder *m_folder = nullptr;
    std::intptr_t m_handle = -1;
    std::uint64_t m_size = 0;
    std::string m_temporary;
    bool m_isMarked = false; // it may have attributes that fileInfo() does not show (POSIX)
};

// Makes a folder and those above it that are missing. Private: for the user alone, or for the owner
// of the folder above if root makes it, on systems with such permissions.
enum class Permissions { Default, Private };
Status makeFolders(const std::string &path, Permissions permissions = Permissions::Default);
// Makes one folder.
Status makeOneFolder(const std::string &path);
// Removes an empty folder.
Status removeOneFolder(const std::string &path);
// Read-only, hidden, system and folder of what a path leads to.
Status attributesOf(const std::string &path, std::uint8_t &attributes);
// Resolves links: the folder's real path and the file's name in it. The file need not exist, its
// folder must.
Status resolvePath(const std::string &path, std::string &folder, std::string &name);

// Conversion between the narrow code page (UTF-8 on POSIX, the ANSI code page on Windows) and
// UTF-8. A character without counterpart becomes "?", never a similar letter.
std::string narrowFromUtf8(std::string_view text);
std::string utf8FromNarrow(std::string_view text);

// Whether text lines end in CR LF on this system.
bool linesEndInCrLf();
// Whether file names are case-insensitive on this system.
bool namesIgnoreCase();
// Reads the time zone setting again, which accesses the disk: once for each call of a library.
void reloadTimeZone();
// The local calendar time for seconds since 1970, UTC. False if there is none. Thread-safe.
bool localTime(std::int64_t seconds, std::tm &parts);
// The time at which the system was started, in nanoseconds since 1970, UTC, by its present clock.
std::int64_t systemStart();
// The number of threads that can run at the same time.
unsigned processorCount();

} // namespace platform
