#pragma once

#include "storage/storage.h"
#include "ziplib/common/backgroundTask.h"
#include "ziplib/common/returnCode.h"

#include <functional>
#include <string>

namespace ziplib {

// The archive that a call works on: found through links, held against other processes that save,
// and replaced whole.
class ArchiveReplacement {
  public:
    // `path` is the archive as the caller names it; messages name it so.
    explicit ArchiveReplacement(std::string path) : m_path(std::move(path)) {}

    // Waits until no other process is replacing the archive and opens it. One that does not exist
    // is no failure. Also removes what killed runs left beside it.
    Status open(const std::function<void()> &idle);
    bool exists() const { return m_old.isOpen(); }
    const std::string &path() const { return m_path; }
    const platform::InputFile &old() const { return m_old; }
    const platform::FileInfo &oldInfo() const { return m_oldInfo; }

    // True where the name still holds what open() found there.
    bool undisturbed() const;
    // The same, or it was taken away since: then the new archive, which has all of it, may have the
    // name.
    bool mayReplace() const;

    // Starts the new archive, with the old one's permissions.
    Status begin();
    platform::NewFile &fresh() { return m_fresh; }
    // Bytes left on the disk; the largest number where that cannot be told.
    std::uint64_t space() const;

    // Makes the new archive durable.
    Status sync(const std::function<void()> &idle);
    // Gives the new archive its name. `taken` tells that another program has put one of its own
    // there in the meantime.
    Status replace(const std::function<void()> &idle, bool &taken);
    // Makes the name durable.
    Status syncFolder(const std::function<void()> &idle);
    // Deletes a new archive that is not to be had after all, which takes its time with a large one.
    void drop(const std::function<void()> &idle);

  private:
    Status claim(const std::function<void()> &idle);
    Status savedByAnother() const;
    Status failed(const Status &status, const char *what, Failure kind) const;
    Status openOld(bool &again, const std::function<void()> &idle);

    std::string m_path;
    std::string m_name;
    platform::Folder m_folder;
    platform::NameLock m_nameLock;
    platform::InputFile m_old;
    platform::FileInfo m_oldInfo;
    platform::NewFile m_fresh;
    BackgroundTask m_droppingCache;
};

} // namespace ziplib
