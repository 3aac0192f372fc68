#pragma once

#include <QString>

// Request the desktop to open or to explore a folder. `sPath` is in the system's form. The result
// of the request is ignored.
void ShellOpen(const QString &sPath);
void ShellExplore(const QString &sPath);
