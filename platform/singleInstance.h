#pragma once

#include <QString>

#include <functional>

class QObject;

// The instances of the program on one display with the same settings.
namespace platform {

// Makes this process the one that later starts hand their archives to, for as long as it runs.
// False if another one is. Requests wait until acceptHandovers is called.
bool becomeInstance();

// The answer of the running instance. None: there is none any more. Busy: it refuses or does not
// respond.
enum class Handover { None, Shown, Busy };

// Asks the running instance to show an archive and to come to the front. `archive` is an absolute
// path in the system's form. Takes at most four seconds.
Handover handOver(const QString &archive);

// Accepts such requests during the lifetime of `owner`, if this process is the instance. `show` is
// called by the event loop and returns whether it shows the archive.
void acceptHandovers(QObject *owner, const std::function<bool(const QString &archive)> &show);

} // namespace platform
