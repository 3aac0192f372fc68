#pragma once

#include <QByteArray>
#include <QString>

#include <dirent.h>

#include <memory>

// Names of files: how they compare, match and are found in a folder.
namespace platform {

// Text of a stored name. Bytes that are not UTF-8 become replacement characters, so that such a
// file is still listed; findName finds it again by that text.
QString nameText(const QByteArray &stored);

// The entries of one folder, without "." and "..".
class FolderEntries {
  public:
    // errno holds the reason if isOpen() is false.
    explicit FolderEntries(const QByteArray &path);

    bool isOpen() const { return m_stream != nullptr; }
    // The next entry, or null at the end.
    const dirent *next();

  private:
    struct Close {
        void operator()(DIR *stream) const { ::closedir(stream); }
    };
    std::unique_ptr<DIR, Close> m_stream;
};

// The stored name among the entries that a name means: the name itself, else the name without the
// blanks at its end, else either without regard to letter case; "" where there is none. Of several
// that differ in case only, the same one each time.
QByteArray findName(FolderEntries entries, const QByteArray &name);

// The name without the blanks at its end.
QByteArray withoutTrailingBlanks(const QByteArray &name);

} // namespace platform
