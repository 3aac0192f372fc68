#pragma once

#include <QString>

#include <cstdint>
#include <memory>

namespace platform {

// Now, in nanoseconds since 1970: what was changed before this call is stamped with this moment at
// the latest, what is changed after it with a later one. Files are stamped by a clock that moves in
// steps of some milliseconds; this waits for the next one.
std::int64_t fileTimeNow();

// Works through the files of one work folder with each folder opened once, so that a large folder
// costs one system call a file. Names are relative to the work folder, in the program's form. No
// step raises an error and none leaves the work folder, links included: each says whether it was
// done, and a caller that goes on loses nothing.
class Sweep {
  public:
    explicit Sweep(const QString &workFolder);
    ~Sweep();
    Sweep(const Sweep &) = delete;
    Sweep &operator=(const Sweep &) = delete;

    // From now on leaves every file that was changed after `moment`, a fileTimeNow(), and says that
    // it was not deleted; so, where the system tells it, all in a folder that was moved to its
    // place after that. For files that were saved elsewhere at that moment: a later change is in no
    // other place.
    void keepChangedAfter(std::int64_t moment);

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
