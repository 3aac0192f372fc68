#pragma once

#include "storage/storage.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <string>
#include <vector>

namespace platform {

// The name without trailing blanks.
QString withoutTrailingBlanks(QString name);

// Sorts names case-insensitively, and by their characters if they differ in case only.
void sortNames(QStringList &names);

// The stored names of one folder, for case-insensitive search.
class StoredNames {
  public:
    // Lists the folder.
    Status read(const Folder &folder);

    // The stored name that differs from `name` in letter case only, else the one that differs so
    // from the name without trailing blanks; "" if there is none. Of several, the first in the
    // order of their bytes. Invalid UTF-8 in a stored name counts as replacement characters.
    std::string find(const QString &name) const;

  private:
    std::string findText(const QString &text) const;

    std::vector<std::string> m_names;
    std::vector<std::uint64_t> m_hashes; // of the names, without their case
};

} // namespace platform
