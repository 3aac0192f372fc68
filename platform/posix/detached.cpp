#include "platform/posix/detached.h"

#include "platform/shell.h"

#include "storage/posix/descriptor.h"
#include "storage/posix/systemError.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__linux__)
#include <sys/syscall.h>
#endif

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

extern char **environ; // NOLINT(readability-redundant-declaration): POSIX leaves it to the program

namespace platform {

namespace {

constexpr int kReport = 3; // the descriptor for a program's report
constexpr const char *kReportVariable = "ORVEL_START_REPORT=";
// A program without a report after this time counts as running.
constexpr int kReportTimeoutMs = 5000;
constexpr int kHighestClosed = 1 << 16;

// The data of the new process, prepared before the fork: a copy of a process with threads must not
// allocate.
struct Plan {
    std::vector<char *> arguments;
    std::vector<char *> variables;
    int null = -1;
    int report = -1;
    int outcome = -1; // where the watcher writes how the program ended; -1: it is not watched
    int firstClosed = kReport;
    int lastDescriptor = 0;
};

// Duplicates a descriptor to a number above those that the new process uses.
Descriptor duplicateAbove(int descriptor) {
    return Descriptor(::fcntl(descriptor, F_DUPFD_CLOEXEC, 10));
}

// Its ends are closed when a program is executed.
struct Pipe {
    Descriptor read;
    Descriptor write;

    bool open() {
        std::array<int, 2> ends = {-1, -1};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0)
            return false;
        read = Descriptor(ends[0]);
        const Descriptor low(ends[1]);
        write = duplicateAbove(low.get());
        return write.isOpen();
    }
};

void closeAtExecution(int first, int last) {
#if defined(SYS_close_range)
    constexpr unsigned kMarkOnly = 4; // CLOSE_RANGE_CLOEXEC
    if (::syscall(SYS_close_range, static_cast<unsigned>(first), ~0U, kMarkOnly) == 0)
        return;
#endif
    for (int descriptor = first; descriptor <= last; ++descriptor)
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

void closeAll(int first, int last) {
#if defined(SYS_close_range)
    if (::syscall(SYS_close_range, static_cast<unsigned>(first), ~0U, 0U) == 0)
        return;
#endif
    for (int descriptor = first; descriptor <= last; ++descriptor)
        ::close(descriptor);
}

void resetSignals() {
    for (int number = 1; number < NSIG; ++number)
        ::signal(number, SIG_DFL); // fails for the two that cannot be caught
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

[[noreturn]] void reportAndExit(const Plan &plan) {
    const int reason = errno;
    // A failure here cannot be reported.
    [[maybe_unused]] const ssize_t written = ::write(plan.report, &reason, sizeof reason);
    ::_exit(127);
}

[[noreturn]] void becomeProgram(const Plan &plan) {
    for (int standard = 0; standard < kReport; ++standard)
        if (::dup2(plan.null, standard) < 0)
            reportAndExit(plan);
    if (plan.firstClosed > kReport && ::dup2(plan.report, kReport) < 0)
        reportAndExit(plan);
    closeAtExecution(plan.firstClosed, plan.lastDescriptor);
    resetSignals();
    ::execve(plan.arguments[0], plan.arguments.data(), plan.variables.data());
    reportAndExit(plan);
}

// Waits for the program, its child, as long as a start takes, and writes its wait status if it has
// failed. A process of its own, because the program must not be a child of the one that starts it.
[[noreturn]] void watch(pid_t program, const Plan &plan) {
    // Nothing of the other process stays open here, least of all its connection to the display.
    ::dup2(plan.outcome, kReport);
    ::dup2(plan.null, 0);
    ::dup2(plan.null, 1);
    ::dup2(plan.null, 2);
    closeAll(kReport + 1, plan.lastDescriptor);
    constexpr int kStep = 10; // ms
    for (int waited = 0; waited < kStartTime; waited += kStep) {
        int status = 0;
        if (::waitpid(program, &status, WNOHANG) == program) {
            if (status != 0) [[maybe_unused]]
                const ssize_t written = ::write(kReport, &status, sizeof status);
            break;
        }
        const timespec pause = {0, kStep * 1'000'000L};
        ::nanosleep(&pause, nullptr);
    }
    ::_exit(0);
}

// Starts the program, in a process that the caller's child has made.
[[noreturn]] void startFrom(const Plan &plan) {
    if (plan.outcome < 0)
        becomeProgram(plan);
    resetSignals();
    const pid_t program = ::fork();
    if (program == 0)
        becomeProgram(plan);
    if (program < 0)
        reportAndExit(plan);
    watch(program, plan);
}

QString outcomeText(int status) {
    return WIFSIGNALED(status)
               ? QStringLiteral("it was ended by signal %1").arg(WTERMSIG(status))
               : QStringLiteral("it ended at once with exit code %1").arg(WEXITSTATUS(status));
}

// Calls `failed` when the watcher reports a failure.
void expectOutcome(Descriptor outcome, const std::function<void(const QString &)> &failed) {
    auto *notifier =
        new QSocketNotifier(outcome.get(), QSocketNotifier::Read, QCoreApplication::instance());
    auto held = std::make_shared<Descriptor>(std::move(outcome));
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [notifier, held, failed] {
        int status = 0;
        const bool reported = ::read(held->get(), &status, sizeof status) == sizeof status;
        notifier->setEnabled(false);
        notifier->deleteLater();
        if (reported)
            failed(outcomeText(status));
    });
}

int waitForReport(int report, StartedWhen started) {
    pollfd ready = {report, POLLIN, 0};
    int count = 0;
    do
        count = ::poll(&ready, 1, kReportTimeoutMs);
    while (count < 0 && errno == EINTR);
    int reason = 0;
    if (count <= 0)
        return 0;
    const ssize_t size = ::read(report, &reason, sizeof reason);
    if (size <= 0)
        return 0;
    return started == StartedWhen::Executed ? reason : ENOENT;
}

std::vector<char *> environmentFor(StartedWhen started, std::string &report) {
    std::vector<char *> variables;
    for (char **variable = environ; variable != nullptr && *variable != nullptr; ++variable)
        if (std::strncmp(*variable, kReportVariable, std::strlen(kReportVariable)) != 0)
            variables.push_back(*variable);
    report = kReportVariable + std::to_string(kReport);
    if (started == StartedWhen::ReportedItself)
        variables.push_back(report.data());
    variables.push_back(nullptr);
    return variables;
}

int highestDescriptor() {
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return kHighestClosed;
    return static_cast<int>(std::min<rlim_t>(limit.rlim_cur, kHighestClosed));
}

} // namespace

Status startDetached(const QByteArray &program, const QList<QByteArray> &arguments,
                     StartedWhen started,
                     const std::function<void(const QString &reason)> &failed) {
    const auto refused = [&](int error) {
        return errnoStatus(error, "cannot start", program.toStdString());
    };
    Plan plan;
    QList<QByteArray> words = {program};
    words.append(arguments);
    for (QByteArray &word : words)
        plan.arguments.push_back(word.data());
    plan.arguments.push_back(nullptr);
    std::string reportVariable;
    plan.variables = environmentFor(started, reportVariable);
    plan.firstClosed = started == StartedWhen::ReportedItself ? kReport + 1 : kReport;
    plan.lastDescriptor = highestDescriptor();

    Pipe report;
    Pipe outcome;
    const Descriptor opened(::open("/dev/null", O_RDWR | O_CLOEXEC));
    const Descriptor null = duplicateAbove(opened.get());
    if (!report.open() || (failed && !outcome.open()) || !null.isOpen())
        return refused(EMFILE);
    plan.report = report.write.get();
    plan.outcome = outcome.write.get();
    plan.null = null.get();

    const pid_t middle = ::fork();
    if (middle < 0)
        return refused(errno);
    if (middle == 0) {
        // The intermediate process ends at once, so that the program is not a child of this
        // process.
        ::setsid();
        const pid_t child = ::fork();
        if (child == 0)
            startFrom(plan);
        if (child < 0)
            reportAndExit(plan);
        ::_exit(0);
    }
    report.write = Descriptor();
    outcome.write = Descriptor();
    while (::waitpid(middle, nullptr, 0) < 0 && errno == EINTR) {
    }
    if (const int reason = waitForReport(report.read.get(), started); reason != 0)
        return refused(reason);
    if (failed)
        expectOutcome(std::move(outcome.read), failed);
    return {};
}

} // namespace platform
