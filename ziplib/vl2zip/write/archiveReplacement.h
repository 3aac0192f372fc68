#pragma once

#include "storage/storage.h"
#include "ziplib/common/backgroundTask.h"
#include "ziplib/common/returnCode.h"
#include "ziplib/format/directory.h"

#include <functional>
#include <string>

namespace ziplib {

// The archive of a save: opened through symbolic links, locked against other processes, and
// replaced atomically by a new one.
class ArchiveReplacement {
  public:
    // `path` is the archive as the caller names it, also in messages.
    explicit ArchiveReplacement(std::string path) : m_path(std::move(path)) {}

    // Locks the archive, which waits for other processes that save it, and opens it. Succeeds if it
    // does not exist. Also removes temporary files that killed processes left beside it.
    Status open(const std::function<void()> &idle);
    bool exists() const { return m_old.isOpen(); }
    const std::string &path() const { return m_path; }
    const platform::InputFile &old() const { return m_old; }
    const platform::FileInfo &oldInfo() const { return m_oldInfo; }
    // True if a step for each byte of the old archive takes less time than starting a thread.
    bool isSmall() const { return m_oldInfo.size < kSmall; }
    // True if its disk may answer late.
    bool isRemote() const { return m_folder.isRemote(); }
    // Reads the old archive's central directory; empty if there is none. Fails if it is damaged: a
    // new archive would lose the entries that cannot be read. `directory` must outlive this.
    Status readDirectory(Directory &directory);

    // Creates the new archive under a temporary name, with the old one's permissions.
    Status begin();
    platform::NewFile &fresh() { return m_fresh; }
    // Opens the new archive for reading.
    Status openFresh(platform::InputFile &file) const { return m_fresh.openWritten(file); }
    // Flushes the new archive to the disk.
    Status sync(const std::function<void()> &idle);
    // Flushes the new archive, calls `lastCheck` and renames the new archive over the old one.
    // `again` is set, and nothing was replaced, if `lastCheck` sets it or another process has
    // replaced the archive since open(). Calls `onReplaced`, which may be empty, as soon as the new
    // archive has the name.
    Status commit(const std::function<void()> &idle,
                  const std::function<Status(bool &again)> &lastCheck, bool &again,
                  const std::function<void()> &onReplaced);
    // The status of a save that the caller cancelled.
    Status cancelled() const;
    // Deletes the new archive instead, which may take long if it is large.
    void drop(const std::function<void()> &idle);

  private:
    static constexpr std::uint64_t kSmall = 512U << 10U;

    Status lockName(const std::function<void()> &idle);
    Status savedByAnother() const;
    Status failed(const Status &status, const char *what, Failure kind) const;
    Status openOld(bool &again, const std::function<void()> &idle);
    // True if the name still refers to the file that open() found.
    bool undisturbed() const;
    // True if the file has another time, but reading it changes its time, and it has the directory
    // that was read.
    bool onlyRead() const;
    // The same, or the file was deleted since: the new archive has all of it.
    bool mayReplace() const;
    // `taken` is set if another process has created an archive of this name.
    Status replace(const std::function<void()> &idle, bool &taken);
    Status syncFolder(const std::function<void()> &idle);

    std::string m_path;
    std::string m_name;
    platform::Folder m_folder;
    platform::NameLock m_nameLock;
    platform::InputFile m_old;
    platform::FileInfo m_oldInfo;
    const Directory *m_directory = nullptr; // of the old archive
    platform::NewFile m_fresh;
    BackgroundTask m_droppingCache;
};

} // namespace ziplib
