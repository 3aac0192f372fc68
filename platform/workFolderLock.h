#pragma once

#include "storage/storage.h"

#include <QString>

namespace platform {

// Makes this program the only one that works on a certain work folder. The lock is on the folder's
// name and ends with this object or the process. Where locks are unavailable, every program may
// work on it.
class WorkFolderLock {
  public:
    // Takes the lock on a folder `name` of the folder `parent`, in place of the one held before; a
    // lock that is held already stays, unless its file was removed with or without `parent`. False
    // if another program holds it. Raises no error.
    bool take(const QString &parent, const QString &name);
    void release();
    // Whether take() failed and nothing was taken or released since.
    bool isRefused() const { return m_isRefused; }
    // Who holds the lock that take() did not get, as "process 12 of alice on desktop"; "" if
    // unknown.
    const QString &holder() const { return m_holder; }

  private:
    QString m_path; // of the locked folder
    bool m_isRefused = false;
    QString m_holder;
    Folder m_parent;
    NameLock m_lock;
};

} // namespace platform
