#pragma once

#include "storage/posix/descriptor.h"

#include <QByteArray>

// The steps by which a file is replaced as a whole. Each returns 0 or an errno.
namespace platform {

// The file that a path leads to, through links of which the last may lead nowhere yet. Empty where
// the links go round in a circle.
QByteArray followLinks(const QByteArray &path);

// Makes a folder and those above it, for the user alone.
int makeFolders(const QByteArray &path);

// A lock that one thread of one program holds at a time, and that goes with whoever held it. It
// lies in a file, made where missing, that stays.
class FileLock {
  public:
    // Waits a few seconds at most; then the result is EAGAIN. Waiters take turns.
    int acquire(const QByteArray &path);

  private:
    Descriptor m_file;
};

// Writes a temporary file beside `path`, syncs it and renames it over `path`. The new file has the
// mode and, where that can be, the owner of the old one. Only for who holds the file's lock: a
// temporary that is there already is what a killed program left, and is removed.
int replaceFile(const QByteArray &path, const QByteArray &content);

} // namespace platform
