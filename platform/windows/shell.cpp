#include "platform/shell.h"

#include "platform/files.h"
#include "platform/windows/system.h"
#include "storage/storage.h"

#include <QCoreApplication>
#include <QTimer>
#include <QWinEventNotifier>

#include <shellapi.h>

namespace platform {

namespace {

constexpr DWORD kElevationRequired = 740; // missing in some compilers' headers

// A parsed command line: the program's file and the argument string after it.
struct Command {
    QString program; // "" if there is none
    QString rest;
};

bool isFile(const QString &path) {
    std::uint8_t its = kAttributeNormal;
    return attributesOf(nativePath(path).toStdString(), its).ok() && (its & kAttributeFolder) == 0;
}

// The program's file: as given, with the default extension, or, for a bare name, from the system's
// search path. "" if there is none.
QString findProgram(const QString &given) {
    const QString path = nativePath(given);
    if (path.isEmpty())
        return {};
    if (path.contains(u'\\') || path.contains(u':')) {
        if (isFile(path))
            return path;
        const QString withEnding = path + QStringLiteral(".exe");
        return isFile(withEnding) ? withEnding : QString();
    }
    QString found(32768, QChar(0));
    const DWORD size = SearchPathW(nullptr, wide(path), L".exe", static_cast<DWORD>(found.size()),
                                   reinterpret_cast<wchar_t *>(found.data()), nullptr);
    found.truncate(static_cast<qsizetype>(size));
    return size < 32768 && isFile(found) ? found : QString();
}

Command takeApart(const QString &line) {
    const QString text = line.trimmed();
    if (text.startsWith(u'"')) {
        const qsizetype end = text.indexOf(u'"', 1);
        const QString quoted = end < 0 ? text.sliced(1) : text.sliced(1, end - 1);
        return {findProgram(quoted), end < 0 ? QString() : text.sliced(end + 1)};
    }
    // Of a path with blanks, the longest existing file.
    for (qsizetype end = text.size(); end > 0; end = text.lastIndexOf(u' ', end - 1)) {
        const QString program = findProgram(text.first(end));
        if (!program.isEmpty())
            return {program, text.sliced(end)};
    }
    return {};
}

// Calls `failed` if the process ends with an error in the time of a start. Closes its handle.
void expectOutcome(HANDLE process, const StartFailed &failed) {
    auto *notifier = new QWinEventNotifier(process, QCoreApplication::instance());
    QObject::connect(
        notifier, &QWinEventNotifier::activated, notifier,
        [=] {
            DWORD code = 0;
            // The handle stays signalled, so a notifier that still waits for it would be called
            // again by the system's thread, even while it is deleted.
            notifier->setEnabled(false);
            notifier->deleteLater();
            if (GetExitCodeProcess(process, &code) && code != 0)
                failed(QStringLiteral("it ended at once with exit code %1").arg(code));
        });
    QObject::connect(notifier, &QObject::destroyed, [process] { CloseHandle(process); });
    QTimer::singleShot(kStartTime, notifier, &QObject::deleteLater);
}

bool startElevated(const Command &command, int style) {
    SHELLEXECUTEINFOW request{};
    request.cbSize = sizeof request;
    request.fMask = SEE_MASK_FLAG_NO_UI;
    request.lpFile = wide(command.program);
    const QString arguments = command.rest.trimmed();
    request.lpParameters = wide(arguments);
    request.nShow = style;
    return ShellExecuteExW(&request) != FALSE;
}

} // namespace

int ShellExecuteA(const QString &verb, const QString &file, const QString &parameters,
                  const QString &directory, int show) {
    const QString path = nativePath(file);
    const HINSTANCE result = ::ShellExecuteW(nullptr, wide(verb), wide(path),
                                             parameters.isEmpty() ? nullptr : wide(parameters),
                                             directory.isEmpty() ? nullptr : wide(directory), show);
    return static_cast<int>(reinterpret_cast<INT_PTR>(result));
}

bool isProgramInPath(const QString &name) {
    const QString trimmed = name.trimmed();
    return !trimmed.contains(u'\\') && !trimmed.contains(u'/') && !trimmed.contains(u':') &&
           !findProgram(trimmed).isEmpty();
}

void Shell(const QString &commandLine, int style, const StartFailed &failed) {
    const Command command = takeApart(commandLine);
    if (command.program.isEmpty())
        raise(ErrorNumber::FileNotFound, commandLine);
    // Quoted, so that the program gets the same first argument in all cases.
    QString line = u'"' + command.program + u'"' + command.rest;
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESHOWWINDOW;
    start.wShowWindow = static_cast<WORD>(style);
    PROCESS_INFORMATION process{};
    if (CreateProcessW(wide(command.program), reinterpret_cast<wchar_t *>(line.data()), nullptr,
                       nullptr, FALSE, 0, nullptr, nullptr, &start, &process)) {
        AllowSetForegroundWindow(process.dwProcessId);
        CloseHandle(process.hThread);
        if (failed)
            expectOutcome(process.hProcess, failed);
        else
            CloseHandle(process.hProcess);
        return;
    }
    // A program that requires elevation is started by the shell, which asks the user for consent.
    if (GetLastError() == kElevationRequired && startElevated(command, style))
        return;
    raise(ErrorNumber::IllegalProcedureCall, command.program);
}

} // namespace platform
