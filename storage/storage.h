#pragma once

#include "storage/status.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Files and folders by handle, for the zip libraries. All texts are UTF-8: paths, names, and
// messages with the system's words in them. Nothing here throws but for memory.
namespace platform {

// DOS attribute bits. Read-only is a file without write permission; hidden and system live where
// the system has a place for them. Archive is what systems put on files by themselves: it is set
// where it comes with another one, and never told, so that the same edits give the same archive
// everywhere.
constexpr std::uint8_t kAttributeReadOnly = 0x01;
constexpr std::uint8_t kAttributeHidden = 0x02;
constexpr std::uint8_t kAttributeSystem = 0x04;
constexpr std::uint8_t kAttributeArchive = 0x20;

struct FileInfo {
    enum class Kind { File, Folder, Link, Other };

    Kind kind = Kind::Other;
    bool readOnly = false;
    std::uint64_t size = 0;
    std::int64_t modified = 0; // nanoseconds since 1970, UTC
    // The same, of the last change of the file or of its properties; `modified` on disks that keep
    // no such time.
    std::int64_t changed = 0;
    std::uint64_t device = 0; // device and id together name one file of the machine
    std::uint64_t id = 0;
};

inline bool sameFile(const FileInfo &a, const FileInfo &b) {
    return a.device == b.device && a.id == b.id;
}

// A file or folder below another one.
struct Location {
    std::string folder; // whole path; "" is the current folder
    std::string below;  // "/" between the components; "" is the folder itself

    std::string path() const;
};

// Asked between the steps of long work: false ends it with Failure::Cancelled.
using KeepGoing = std::function<bool()>;

class InputFile;
// Opens a certain file.
using OpenInput = std::function<Status(InputFile &file)>;

// A file opened to be read at any position, by several threads at once.
class InputFile {
  public:
    InputFile() = default;
    ~InputFile() { close(); }
    InputFile(InputFile &&other) noexcept;
    InputFile &operator=(InputFile &&other) noexcept;
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;

    // Opens a file, links followed. WrongKind for all but ordinary files; never waits.
    Status open(const std::string &path);
    // The same; tells what is known of the file as it was opened.
    Status open(const std::string &path, FileInfo &info);
    Status open(const Location &place, FileInfo &info);
    bool isOpen() const { return m_handle != -1; }
    void close();

    // Reads up to `size` bytes at `offset`; `got` is less only where the file ends.
    Status readAt(std::uint64_t offset, void *data, std::size_t size, std::size_t &got) const;
    // What is known of the file as it is now.
    Status info(FileInfo &info) const;
    // Tells the system that its bytes need not be kept in memory for quick reading any more.
    void dropCache() const;
    // Hidden and system as recorded for the file, and read-only.
    Status attributes(std::uint8_t &attributes) const;
    // Holds the file for this handle alone among all that lock it, until it is closed. Waits up to
    // `wait`, calling `keepGoing` at least every 40 ms; Busy after that. Takes the best lock that
    // the disk has; ok, too, where it has none.
    Status lock(std::chrono::milliseconds wait, const KeepGoing &keepGoing = {});
    const std::string &path() const { return m_path; }

  private:
    friend class Folder;
    friend class NameLock;
    friend class NewFile;

    std::intptr_t m_handle = -1;
    std::string m_path;
};

struct FolderItem {
    std::string name;
    FileInfo::Kind kind = FileInfo::Kind::Other;
    std::uint8_t attributes = 0; // those that a listing gives, without further system calls
};

// A folder held open, so that what is done in it is done in this very folder, whatever happens to
// the path that led to it. Names are single components; links are never followed unless told.
class Folder {
  public:
    enum class Links { Refuse, Follow };

    Folder() = default;
    ~Folder() { close(); }
    Folder(Folder &&other) noexcept;
    Folder &operator=(Folder &&other) noexcept;
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    // Opens a folder by its path ("" is the current one), links followed.
    Status open(const std::string &path);
    Status open(const Location &place);
    // Opens a folder directly in this one. WrongKind for a file or a link.
    Status openFolder(const std::string &name, Folder &folder) const;
    // Makes a folder in this one. Exists where the name is taken by anything.
    Status makeFolder(const std::string &name) const;
    // Opens an ordinary file of this folder. WrongKind for anything else; never waits.
    Status openFile(const std::string &name, InputFile &file, Links links = Links::Refuse) const;
    // The same; tells what is known of the file as it was opened.
    Status openFile(const std::string &name, InputFile &file, Links links, FileInfo &info) const;
    // What is known of a name; a link is told as a link unless followed.
    Status info(const std::string &name, FileInfo &info, Links links = Links::Refuse) const;
    // Whether this system keeps what it knows of files here for a while, as it does for a server's.
    bool keepsInfo() const;
    // The same as info, but asks the disk and not what is kept.
    Status freshInfo(const std::string &name, FileInfo &info, Links links = Links::Refuse) const;
    // What is known of a file that is made here and dropped again. Its `changed` is the time now,
    // by the disk's own clock and in that clock's steps: whatever changes on this disk from now on
    // is stamped with this time or a later one.
    Status newFileInfo(FileInfo &info) const;
    // Everything in the folder but "." and "..", in no order.
    Status list(std::vector<FolderItem> &items) const;
    Status removeFile(const std::string &name) const;
    Status removeFolder(const std::string &name) const;
    // Decides whether a file is removed, by its information or that of a link's target. `open`
    // opens this very file.
    using RemoveCheck = std::function<bool(const FileInfo &info, const OpenInput &open)>;
    // Removes a file if `mayRemove` is true; Busy if not. Where the system can prevent it, no other
    // program writes to the file in between. `fresh`: asks as freshInfo does.
    Status removeFileIf(const std::string &name, bool fresh, const RemoveCheck &mayRemove) const;
    // Clears read-only, hidden, system and archive of a file. WrongKind for anything else.
    Status clearAttributes(const std::string &name) const;
    // Hidden and system of an item of list(); of a link itself.
    std::uint8_t recordedAttributes(const FolderItem &item) const;
    // Bytes that may still be written on this folder's disk.
    Status freeSpace(std::uint64_t &bytes) const;
    // Makes the folder's names as durable as its device can.
    Status sync() const;
    // Removes temporaries of runs that ended before their time, but none that is still held.
    void removeStaleTemporaries() const;
    bool isOpen() const { return m_handle != -1; }
    void close();
    const std::string &path() const { return m_path; }
    // The path of a file in it, for messages.
    std::string pathOf(const std::string &name) const;

  private:
    friend class NameLock;
    friend class NewFile;

    // Opens a file for a RemoveCheck. Busy if it is not the one of `info`.
    Status openSame(const std::string &name, Links links, const FileInfo &info,
                    InputFile &file) const;

    std::intptr_t m_handle = -1;
    std::string m_path;
};

// Keeps all others waiting that claim the same name of a folder, from `take` to its end, whatever
// becomes of the file of that name meanwhile. Where a lock on that file does as much, which is
// wherever the name of an open file can safely be given to another one, it costs nothing and claims
// nothing. Neither can be claimed on a disk without locks.
class NameLock {
  public:
    NameLock() = default;
    ~NameLock() { release(); }
    NameLock(const NameLock &) = delete;
    NameLock &operator=(const NameLock &) = delete;

    // Waits up to `wait`, calling `keepGoing` at least every 40 ms; Busy after that. In a folder
    // that takes no new file, nothing can be replaced and nothing is claimed. `folder` must outlive
    // the claim.
    Status take(const Folder &folder, const std::string &name, std::chrono::milliseconds wait,
                const KeepGoing &keepGoing = {});
    void release();

  private:
    const Folder *m_folder = nullptr;
    std::string m_nameLock;
    InputFile m_file;
};

// True for the names under which new files are written before they get their own:
// ".orvel-<hex>.part". No file that is kept is ever called so.
bool isTemporaryName(std::string_view name);

// A file that is written without a name, or under a reserved one in its folder, and gets its own
// name once it is whole. Dropped without a commit it leaves nothing behind.
class NewFile {
  public:
    enum class Replace { No, Yes };
    enum class Guard { None, Locked };

    NewFile() = default;
    ~NewFile() { discard(); }
    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;

    // Starts a file. `folder` must outlive it. Locked keeps removeStaleTemporaries away from it.
    Status create(const Folder &folder, Guard guard = Guard::None);
    // Appends.
    Status write(const void *data, std::size_t size);
    Status writeAt(std::uint64_t offset, const void *data, std::size_t size);
    // Appends a range of another file, by the system's own means where it has some (shared blocks,
    // copying inside the kernel). EndsEarly where the other file has fewer bytes. The disk may
    // begin to write meanwhile, and the other file's range need not stay in memory afterwards.
    Status copyFrom(const InputFile &source, std::uint64_t offset, std::uint64_t size,
                    const KeepGoing &keepGoing = {});
    // Drops what lies behind `size` bytes.
    Status truncate(std::uint64_t size);
    // Opens what has been written so far to be read.
    Status openWritten(InputFile &file) const;
    std::uint64_t size() const { return m_size; }
    // What is known of it as it is now.
    Status info(FileInfo &info) const;
    // Nanoseconds since 1970, UTC.
    Status setModified(std::int64_t modified);
    Status setAttributes(std::uint8_t attributes);
    // Takes over permissions, owner and recorded attributes as far as the system permits.
    void takeOverFrom(const InputFile &other);
    // Takes over time and attributes, on POSIX also mode and extended attributes.
    Status copyProperties(const InputFile &other);
    // A file that root creates in the folder of another user belongs to that user.
    void giveToFolderOwner();
    // Makes the content as durable as the device can.
    Status sync();
    // Gives the file its name and closes it. Exists where the name is taken and is not to be
    // replaced; WrongKind where a folder has it. A failed commit leaves nothing behind.
    // `replaced` is the file that is replaced, where the caller holds it: it is closed where the
    // name of an open file cannot safely be given away. Exists, too, where another file has taken
    // its place by then. A disk that has lost the replaced file and will not give its name to this
    // one loses nothing more: this one is kept beside it, under the name that the message tells.
    Status commit(const std::string &name, Replace replace, InputFile *replaced = nullptr);
    void discard();

  private:
    // Renames the file to `name`; Exists where that is taken.
    Status takeFreeName(const std::string &name);
    Status replaceFile(const std::string &name, InputFile *replaced);
    // Renames the temporary to a name beside `name` that later runs do not remove.
    Status setAside(const std::string &name);
    // Leaves the file there, whatever happens, since no other one is whole. The failure with that.
    Status keep(const std::string &name, const Status &failed);

    const Folder *m_folder = nullptr;
    std::intptr_t m_handle = -1;
    std::uint64_t m_size = 0;
    std::string m_temporary;
};

// Makes a folder and those above it that are missing. Private: for the user alone, or for the owner
// of the folder above if root makes it, on systems with such permissions.
enum class Permissions { Default, Private };
Status makeFolders(const std::string &path, Permissions permissions = Permissions::Default);
// Where a path really leads: the folder without links, and the name in it. The file itself need
// not exist, its folder must.
Status resolvePath(const std::string &path, std::string &folder, std::string &name);

// Between the system's narrow code page (UTF-8 on POSIX, the ANSI code page on Windows) and UTF-8.
// What has no counterpart becomes "?", never a letter that merely looks alike.
std::string narrowFromUtf8(std::string_view text);
std::string utf8FromNarrow(std::string_view text);

// True where lines of text end in CR LF on this system.
bool linesEndInCrLf();
// True where names that differ in case only are one name on this system.
bool namesIgnoreCase();
// Notices that the time zone was changed, which costs a look at the disk: once for each call of a
// library.
void reloadTimeZone();
// The local calendar time of an instant in seconds since 1970, UTC. False where there is none.
// May be called from several threads.
bool localTime(std::int64_t seconds, std::tm &parts);
// Threads that can run at the same time.
unsigned processorCount();

} // namespace platform
