#pragma once

#include <QString>

// Ask the desktop's shell to show a folder. `sPath` is the path as the system writes it; what comes
// of the request is ignored.
void ShellOpen(const QString &sPath);
void ShellExplore(const QString &sPath);
