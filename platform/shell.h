#pragma once

#include <QString>

namespace platform {

inline constexpr int kShowNormal = 1;

// Hands a path to the desktop's shell ("Open" or "Explore" a folder). Returns at once with a value
// above 32 where the request was made, else an error code; raises nothing. `parameters` and
// `directory` are empty for a folder.
int ShellExecuteA(const QString &verb, const QString &file, const QString &parameters,
                  const QString &directory, int show);

// Starts a program from one command line and does not wait for it: the program first, in quotes or
// not (of an unquoted one with blanks, the longest existing file wins), then its arguments as one
// string whose double quotes are honoured. No shell interprets any of it. Raises 53 where there is
// no such program, 5 where it cannot be started.
void Shell(const QString &commandLine, int style);

} // namespace platform
