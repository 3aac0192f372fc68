#pragma once

#include "platform/packedFiles.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

namespace platform {

// Deletes the files of one work folder, with each folder opened once, so that a large folder costs
// one system call a file. Names are relative to the work folder, in the program's form. No step
// raises an error or leaves the work folder, not even through links. Each returns whether it
// succeeded; a caller may always continue.
class WorkFolderCleaner {
  public:
    explicit WorkFolderCleaner(const QString &workFolder);
    ~WorkFolderCleaner();
    WorkFolderCleaner(const WorkFolderCleaner &) = delete;
    WorkFolderCleaner &operator=(const WorkFolderCleaner &) = delete;

    // From now on deletes only files that an archive holds, a link if it holds the link's target.
    // For all others the result is false. `packed` must outlive this.
    void deleteOnly(const PackedFiles &packed);
    // From now on moves files that an archive does not hold to the desktop's trash; where there is
    // none for this disk, deletes them. `packed` must outlive this.
    void trashOthers(const PackedFiles &packed);
    // The files that were moved to the trash, those that were deleted for lack of one, and those
    // that stay: the trash did not take them, or deleteOnly() keeps them.
    const QStringList &trashed() const;
    const QStringList &deleted() const;
    const QStringList &kept() const;
    // Those that stay because another program has them open and the system therefore refuses to
    // examine them.
    const QStringList &inUse() const;

    // Clears read-only, hidden, system and archive of one file. `cleared` receives the file's
    // information afterwards.
    bool clearAttributes(const QString &file, FileInfo *cleared = nullptr);
    // Deletes one file (never a folder), even if it is read-only or hidden.
    bool deleteFile(const QString &file);
    // Deletes `count` files, as deleteFile does. Several threads do so, since a disk may make each
    // deletion wait, but only this one moves files to the trash. `file` returns the name of a
    // number from 0, on any thread. `done` is called for each in order, on this thread, with
    // whether it was deleted; `idle` about every 20 ms.
    void deleteFiles(
        int count, const std::function<QString(int number)> &file,
        const std::function<void(int number, bool deleted)> &done,
        const std::function<void()> &idle = [] {});
    // Deletes every file directly in a folder ("" is the work folder itself) except hidden and
    // system files. True if none is left. Calls `step` before each with its number and the number
    // of all.
    using Step = std::function<void(int file, int count)>;
    bool deleteFilesIn(const QString &folder, const Step &step = {});
    // Removes one empty folder ("" is the work folder itself).
    bool removeFolder(const QString &folder);

  private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace platform
