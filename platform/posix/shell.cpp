#include "platform/shell.h"

#include "platform/error.h"
#include "platform/files.h"
#include "platform/narrow.h"
#include "platform/posix/activationToken.h"
#include "platform/posix/commandLine.h"
#include "platform/posix/detached.h"
#include "platform/posix/paths.h"
#include "storage/posix/environment.h"

#include <QScopeGuard>

#include <algorithm>
#include <limits>

namespace platform {

namespace {

// Results of ShellExecuteA.
constexpr int kStarted = 42;
constexpr int kFileNotFound = 2;
constexpr int kAccessDenied = 5;
constexpr int kNoAssociation = 31;

constexpr const char *kTokenVariable = "XDG_ACTIVATION_TOKEN";

// The text editor's launcher searches for an editor first and reports the result itself.
bool isLauncher(const QByteArray &program) {
    const QString folder = windowsFolder(std::numeric_limits<int>::max());
    return !folder.isEmpty() && realPath(program) == toNarrow(folder) + "/NOTEPAD.EXE";
}

// Asks for the focus too if the program only passes the file on to an instance that runs already.
Status startFocused(const QByteArray &program, const QList<QByteArray> &arguments, StartedWhen when,
                    const StartFailed &failed = {}) {
    const QByteArray token = activationToken();
    if (!token.isEmpty())
        qputenv(kTokenVariable, token);
    const auto restore = qScopeGuard([] { qunsetenv(kTokenVariable); });
    return startDetached(program, arguments, when, failed);
}

void start(const QByteArray &program, const QList<QByteArray> &arguments,
           const StartFailed &failed) {
    const StartedWhen when =
        isLauncher(program) ? StartedWhen::ReportedItself : StartedWhen::Executed;
    const Status started = startFocused(program, arguments, when, failed);
    if (started.ok())
        return;
    raise(started.is(Failure::NotFound) ? ErrorNumber::FileNotFound
                                        : ErrorNumber::IllegalProcedureCall,
          fromNarrow(program));
}

} // namespace

bool isProgramInPath(const QString &name) {
    return std::none_of(name.begin(), name.end(), isSeparator) &&
           !findInPath(toNarrow(name.trimmed()).toStdString()).empty();
}

void Shell(const QString &commandLine, int /*style*/, const StartFailed &failed) {
    Command command = parseCommandLine(commandLine);
    if (command.isWindowsProgram) {
        const QByteArray wine = QByteArray::fromStdString(findInPath("wine"));
        if (wine.isEmpty())
            raise(ErrorNumber::FileNotFound, QStringLiteral("wine"));
        command.arguments.prepend(command.program);
        command.program = wine;
    }
    start(command.program, command.arguments, failed);
}

int ShellExecuteA(const QString &verb, const QString &file, const QString & /*parameters*/,
                  const QString & /*directory*/, int /*show*/) {
    const bool known = verb.compare(u"Open", Qt::CaseInsensitive) == 0 ||
                       verb.compare(u"Explore", Qt::CaseInsensitive) == 0;
    if (!known)
        return kNoAssociation;
    // For a missing path the desktop would show an error of its own.
    if (file.isEmpty() || file.contains(QChar(u'\0')))
        return kFileNotFound;
    const QByteArray path = realPath(resolve(file));
    if (path.isEmpty())
        return kFileNotFound;
    const QByteArray opener = QByteArray::fromStdString(findInPath("xdg-open"));
    if (opener.isEmpty())
        return kNoAssociation;
    const Status started = startFocused(opener, {path}, StartedWhen::Executed);
    if (started.ok())
        return kStarted;
    return started.is(Failure::NotFound) ? kFileNotFound : kAccessDenied;
}

} // namespace platform
