#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace platform {

// A command line taken apart: what is executed, and its arguments as the system passes them.
struct Command {
    QByteArray program;
    QList<QByteArray> arguments;
    bool isWindowsProgram = false;
};

// Finds the program at the beginning of a command line, in quotes or not, and splits the rest at
// blanks outside of double quotes, as Windows programs do. What names a file from its root on, up
// to the end of the line, is one argument, whatever its name holds, and whether the file is there
// or still to be made. Paths in the program's form become native ones, or for a Windows
// program those that Wine knows them by. Raises 53 where there is no such program and 5 where the
// file is no program.
Command parseCommandLine(const QString &line);

} // namespace platform
