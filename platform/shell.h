#pragma once

#include <QString>

#include <functional>

namespace platform {

inline constexpr int kShowNormal = 1;

// Opens a path in the desktop's shell ("Open" or "Explore" a folder). Returns at once with a value
// above 32 on success, else an error code; raises nothing. `parameters` and `directory` are empty
// for a folder.
int ShellExecuteA(const QString &verb, const QString &file, const QString &parameters,
                  const QString &directory, int show);

// Whether a name without a folder is that of a program in the system's search path.
bool isProgramInPath(const QString &name);

// The time in which a program that ends with an error counts as not started, in ms.
inline constexpr int kStartTime = 2000;
// Called by the event loop if a program fails in that time, with the reason as part of a sentence.
using StartFailed = std::function<void(const QString &reason)>;

// Starts a program from a command line without waiting for it: the program, quoted or not (of an
// unquoted one with blanks, the longest existing file is used), then its arguments as one string
// with double quotes. No shell interprets it. Raises 53 if there is no such program, 5 if it cannot
// be started. A failure after that goes to `failed`.
void Shell(const QString &commandLine, int style, const StartFailed &failed = {});

} // namespace platform
