#pragma once

#include "archive/entryList.h"
#include "workspace/archiveTree.h"

#include <QFileSystemWatcher>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <cstdint>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

// What differs in a work folder from the archive that was extracted into it, as the window shows
// it: the changed files of entries, and the files without an entry that a save would pack.
struct FolderChanges {
    ArchiveTree::Changes nodes;
    QString note; // about all; "" if there are none
};

// Finds the changed and new files of one work folder, on a thread of its own: by file information
// first, by content only where that has changed. Folders are watched if the system can and there
// are not too many.
class ChangedFiles : public QObject {
  public:
    // The entries as listed, for work folders without a record.
    using Listing = std::shared_ptr<const EntryList>;

    // `found` gets the result of each look, on the caller's thread.
    ChangedFiles(QObject *parent, std::function<void(FolderChanges)> found);
    ~ChangedFiles() override;

    // Looks at the work folder `name` of the folder `folders`, in the program's form. Another look
    // at the same folder uses what the last one has read; only the first one calls `listing`.
    void Look(const QString &folders, const QString &name, const std::function<Listing()> &listing);
    // Ends the look and the watching, and forgets the folder: the next look reads the record again.
    // Calls `idle` while it waits for the thread.
    void Stop(void (*idle)());

  private:
    struct Task;
    struct Result;

    void start();
    void finish();
    // Watches these folders in place of the former ones.
    void watch(const QStringList &folders);

    std::function<void(FolderChanges)> m_found;
    std::unique_ptr<Task> m_task; // null if stopped
    bool m_again = false;         // look once more after this one
    std::unique_ptr<QFileSystemWatcher> m_watcher;
    QStringList m_watched;
    QTimer m_settled;
    QTimer m_poll{this};  // active during a look
    std::thread m_thread; // joinable during a look
};
