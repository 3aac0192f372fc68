#pragma once

#include "storage/status.h"

#include <QByteArray>
#include <QList>

namespace platform {

// When a start counts as done.
enum class StartedWhen {
    Executed,       // once the program has replaced the starting process
    ReportedItself, // once it has closed descriptor 3 with nothing written; see ORVEL_START_REPORT
};

// Starts a program as a process of its own: in its own session, a child of nobody here, with
// nothing open but /dev/null as input and outputs, and every signal as it is by default. The
// current folder and the environment are the caller's.
Status startDetached(const QByteArray &program, const QList<QByteArray> &arguments,
                     StartedWhen started = StartedWhen::Executed);

} // namespace platform
