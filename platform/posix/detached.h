#pragma once

#include "storage/status.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>

namespace platform {

// When a start is complete.
enum class StartedWhen {
    Executed,       // once the program is executed
    ReportedItself, // once it closes descriptor 3 without output; see ORVEL_START_REPORT
};

// Starts a program as a detached process: in its own session, not a child of this process, with
// only /dev/null open as input and outputs, and default signal handlers. It inherits the current
// folder and the environment. If `failed` is set, the event loop calls it with the reason if the
// program ends within `kStartTime` with an exit code other than 0 or by a signal.
Status startDetached(const QByteArray &program, const QList<QByteArray> &arguments,
                     StartedWhen started = StartedWhen::Executed,
                     const std::function<void(const QString &reason)> &failed = {});

} // namespace platform
