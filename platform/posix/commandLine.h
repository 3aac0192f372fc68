#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace platform {

// A parsed command line: the executable, and its arguments as the system passes them.
struct Command {
    QByteArray program;
    QList<QByteArray> arguments;
    bool isWindowsProgram = false;
};

// Finds the program at the beginning of a command line, quoted or not, and splits the rest at
// blanks outside of double quotes, as Windows programs do. An absolute path that extends to the end
// of the line is one argument, whatever characters it contains, and whether the file exists or is
// yet to be created. Paths in the program's form become native ones, or for a Windows program those
// of Wine. Raises 53 if there is no such program and 5 if the file is not executable.
Command parseCommandLine(const QString &line);

} // namespace platform
