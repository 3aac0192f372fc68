#pragma once

#include "platform/packedFiles.h"

#include <QString>

#include <memory>

namespace platform {

// Works through the files of one work folder with each folder opened once, so that a large folder
// costs one system call a file. Names are relative to the work folder, in the program's form. No
// step raises an error and none leaves the work folder, links included: each says whether it was
// done, and a caller that goes on loses nothing.
class WorkFolderCleaner {
  public:
    explicit WorkFolderCleaner(const QString &workFolder);
    ~WorkFolderCleaner();
    WorkFolderCleaner(const WorkFolderCleaner &) = delete;
    WorkFolderCleaner &operator=(const WorkFolderCleaner &) = delete;

    // From now on deletes only files that an archive holds, a link by the file that it leads to,
    // and says of every other that it was not deleted. `packed` must outlive this.
    void deleteOnly(const PackedFiles &packed);

    // Clears read-only, hidden, system and archive of one file.
    bool clearAttributes(const QString &file);
    // Deletes one file (never a folder), a read-only or hidden one too: its attributes need not be
    // cleared first.
    bool deleteFile(const QString &file);
    // Deletes every file directly in a folder ("" is the work folder itself); hidden and system
    // files stay. True where none was left.
    bool deleteFilesIn(const QString &folder);
    // Removes one empty folder ("" is the work folder itself).
    bool removeFolder(const QString &folder);

  private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace platform
