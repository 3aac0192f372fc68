#pragma once

#include "storage/posix/descriptor.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <list>
#include <optional>

namespace platform {

// An open folder below a work folder, and the names in it.
class OpenFolder {
  public:
    OpenFolder(QString name, Descriptor descriptor)
        : m_name(std::move(name)), m_descriptor(std::move(descriptor)) {}

    int descriptor() const { return m_descriptor.get(); }
    const QString &name() const { return m_name; }
    // What is stored for a name that is not there as written: without the blanks at its end or in
    // another letter case; "" where nothing is. The folder is read at the first question only, so
    // that thousands of missing files do not cost a reading each.
    QByteArray otherSpelling(const QByteArray &name);

  private:
    QString m_name;
    Descriptor m_descriptor;
    std::optional<QHash<QString, QByteArray>> m_spellings;
};

// The folders of one work folder, the ones used last kept open. No link below the work folder is
// followed, and no name leads out of it.
class FolderCache {
  public:
    // The path of the work folder itself may hold links.
    explicit FolderCache(const QByteArray &workFolder);

    // The folder of that name ("" is the work folder), or null where there is none. Stays valid
    // until the next call.
    OpenFolder *open(const QString &folder);
    // Closes the folder, if it is open.
    void close(const QString &folder);

  private:
    Descriptor openPath(const QString &folder);

    OpenFolder m_root;
    std::list<OpenFolder> m_used; // the last one first
};

// A name relative to a work folder, taken apart at its last separator.
struct RelativeName {
    QString folder;
    QByteArray name;
};
// Nothing where the name cannot be one of a file below the folder ("..", NUL, no name at all).
std::optional<RelativeName> relativeName(const QString &path);

} // namespace platform
