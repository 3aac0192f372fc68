#include "platform/shell.h"
#include "tests/platform/shell/shellFixture.h"

#include <fcntl.h>
#include <sys/wait.h>

#include <csignal>

namespace {

using platform::ErrorNumber;
using platform::Shell;
using platform::ShellExecuteA;

class ShellTest : public ShellFixture {};

TEST_F(ShellTest, AProgramGetsTheFileByteForByte) {
    const QString program = makeRecorder("My Editors/The Editor");
    const QByteArray name = "temp/Classic/q\"uo\"te 'n' $HOME `id`;\n-\xc3\xa4\xe2\x82\xac 100%.cs";
    makeFile(name);
    Shell(program + ' ' + at(QString::fromUtf8(name).replace('/', '\\')), 1);
    EXPECT_EQ(recorded(), (QList<QByteArray>{program.toUtf8(), bytesAt(name)}));
}

TEST_F(ShellTest, AProgramInheritsNothingButFolderAndEnvironment) {
    const QString program = makeRecorder("edit");
    const ScopedVariable report("ORVEL_START_REPORT", "3"); // for the launcher only
    // Open, and without the close-on-exec flag.
    const int open = ::open(bytesAt("edit").constData(), O_RDONLY);
    const auto before = ::signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigset_t earlier;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &blocked, &earlier);
    Shell(program, 1);
    EXPECT_EQ(recorded().size(), 1);
    ::pthread_sigmask(SIG_SETMASK, &earlier, nullptr);
    ::signal(SIGPIPE, before);
    ::close(open);

    const QList<QByteArray> state = readFile(at("record.state")).split('\n');
    EXPECT_NE(state.value(4), "session " + QByteArray::number(::getsid(0)));
    EXPECT_EQ(state,
              (QList<QByteArray>{"open /dev/null", "open /dev/null", "open /dev/null", "signals 0",
                                 state.value(4), "folder " + QFile::encodeName(QDir::currentPath()),
                                 "report 0", ""}));
}

TEST_F(ShellTest, NoProgramIsLeftAsAChildAndNoFileOpen) {
    const auto openFiles = [] { return QDir("/proc/self/fd").entryList(QDir::Files).size(); };
    const QByteArray program = makeRecorder("edit").toUtf8();
    const auto before = openFiles();
    // One that runs on is not waited for.
    ASSERT_EQ(::mkfifo(bytesAt("gate").constData(), 0600), 0);
    makeExecutable("patient", "#!/bin/sh\nread -r line < " + bytesAt("gate") + "\nexec " + program);
    Shell(at("patient"), 1);
    EXPECT_FALSE(exists("record"));
    // Opens when the program reads the other end.
    ::close(::open(bytesAt("gate").constData(), O_WRONLY));
    EXPECT_EQ(recorded(), QList<QByteArray>{program});
    expectError(ErrorNumber::FileNotFound, [&] { Shell(at("missing"), 1); });
    EXPECT_EQ(openFiles(), before);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(ShellTest, AStartThatFailsIsAnError) {
    makeExecutable("no-format", "neither a script nor a program");
    makeExecutable("no-interpreter", "#!/no/such/interpreter\n");
    expectError(
        ErrorNumber::IllegalProcedureCall, [&] { Shell(at("no-format"), 1); });
    expectError(ErrorNumber::FileNotFound, [&] { Shell(at("no-interpreter"), 1); });
}

TEST_F(ShellTest, AWindowsProgramStartsThroughWine) {
    const QString program = makeWindowsProgram("Tools/Paint It.exe");
    makeFile("work/sky one.png");
    const QString line = program + ' ' + at("work\\sky one.png");
    expectError(ErrorNumber::FileNotFound, [&] { Shell(line, 1); });

    const QByteArray wine = makeRecorder("bin/wine").toUtf8();
    Shell(line, 1);
    EXPECT_EQ(recorded(),
              (QList<QByteArray>{wine, program.toUtf8(),
                                 "Z:" + bytesAt("work/sky one.png").replace('/', '\\')}));
}

TEST_F(ShellTest, AFolderOpensInTheDesktopsFileManager) {
    makeFolders("My Work/$(id)");
    EXPECT_EQ(ShellExecuteA("Open", at("My Work"), {}, {}, 1), 31) << "no desktop";

    const QByteArray opener = makeRecorder("bin/xdg-open").toUtf8();
    for (const char *verb : {"Open", "Explore"}) {
        EXPECT_GT(ShellExecuteA(verb, at("my work\\$(ID)\\"), {}, {}, 1), 32);
        EXPECT_EQ(recorded(), (QList<QByteArray>{opener, bytesAt("My Work/$(id)")}));
    }
    for (const QString &nothing : {at("missing"), QString(), at("My Work") + QChar(0)})
        EXPECT_EQ(ShellExecuteA("Open", nothing, {}, {}, 1), 2);
    EXPECT_LE(ShellExecuteA("Print", at("My Work"), {}, {}, 1), 32);
    EXPECT_EQ(recorded(200), QList<QByteArray>());
}

} // namespace
