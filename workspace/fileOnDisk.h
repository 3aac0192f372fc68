#pragma once

#include "archive/workRecord.h"

#include <QString>

// Whether a file exists below a folder, and whether it has the bytes of a version of it.
struct FileOnDisk {
    bool exists = false;
    bool same = false;

    // The folder's path is in the system's form.
    FileOnDisk(const QString &folder, const EntryVersion &version);
};
