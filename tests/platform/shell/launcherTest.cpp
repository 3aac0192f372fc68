#include "platform/files.h"
#include "platform/shell.h"
#include "tests/platform/shell/shellFixture.h"

namespace {

using platform::ErrorNumber;
using platform::Shell;

// The launcher as the program starts it, with the tools that it uses and no editor.
class LauncherTest : public ShellFixture {
  protected:
    LauncherTest() {
        for (const char *tool :
             {"awk", "cat", "grep", "head", "readlink", "sed", "sleep", "timeout"}) {
            const QString real = QFileInfo(QString("/usr/bin/") + tool).canonicalFilePath();
            EXPECT_EQ(::symlink(real.toUtf8().constData(),
                                bytesAt(QByteArray("bin/") + tool).constData()),
                      0);
        }
        makeFile("work/my \"file\" $1 `id`.txt");
    }

    QString file() const { return at("work\\my \"file\" $1 `id`.txt"); }
    QByteArray nativeFile() const { return bytesAt("work/my \"file\" $1 `id`.txt"); }
    void open() const { Shell(platform::windowsFolder(260) + "\\NOTEPAD.EXE " + file(), 1); }
    // The name and the arguments of the program that was started.
    QList<QByteArray> opened() const {
        open();
        QList<QByteArray> arguments = recorded();
        if (!arguments.isEmpty())
            arguments[0] = arguments[0].sliced(arguments[0].lastIndexOf('/') + 1);
        return arguments;
    }
    void makeDefault(const QByteArray &id) const {
        makeExecutable("bin/xdg-mime",
                       "#!/bin/sh\n[ \"$*\" = 'query default text/plain' ] && echo " + id + "\n");
    }
    void makeEntry(const QByteArray &path, const QByteArray &lines) const {
        makeFile(path, "# a comment\n[Desktop Entry]\nName=The Editor\n" + lines +
                           "\n[Desktop Action other]\nExec=false\nTerminal=true\n");
    }
};

TEST_F(LauncherTest, WithNoEditorTheStartFails) {
    expectError(ErrorNumber::FileNotFound, [&] { open(); });
    makeRecorder("bin/nano");
    makeRecorder("bin/vim");
    const ScopedVariable visual("VISUAL", "nano");
    expectError(ErrorNumber::FileNotFound, [&] { open(); });
    EXPECT_EQ(recorded(200), QList<QByteArray>());
}

TEST_F(LauncherTest, VisualIsTakenIfItNamesAProgramWithAWindow) {
    makeRecorder("bin/mousepad"); // the fallback
    for (const char *name : {"bin/nano", "bin/code"})
        makeRecorder(name);
    struct Row {
        QByteArray visual;
        QList<QByteArray> opened;
    };
    const QByteArray path = nativeFile();
    for (const Row &row : {
             Row{"code --wait", {"code", "--wait", path}},
             Row{bytesAt("bin/code"), {"code", path}},
             // Programs of a terminal, unknown and missing ones, and texts that are none.
             Row{"nano", {"mousepad", path}},
             Row{"missing", {"mousepad", path}},
             Row{"$(touch x); *", {"mousepad", path}},
         }) {
        const ScopedVariable visual("VISUAL", row.visual);
        EXPECT_EQ(opened(), row.opened) << row.visual.constData();
    }
}

TEST_F(LauncherTest, TheDesktopsDefaultIsStartedAsItsEntrySays) {
    makeRecorder("bin/mousepad"); // the fallback
    makeRecorder("bin/ed-it");
    const QByteArray path = nativeFile();
    makeDefault("my-editor.desktop");
    struct Row {
        const char *lines;
        QList<QByteArray> opened;
    };
    for (const Row &row : {
             Row{"Exec=ed-it --new %F --end", {"ed-it", "--new", path, "--end"}},
             Row{"Exec=ed-it %f\nTerminal=true", {"mousepad", path}},
             Row{"Exec=missing %f", {"mousepad", path}},
         }) {
        makeEntry("data/applications/my/editor.desktop", row.lines);
        EXPECT_EQ(opened(), row.opened) << row.lines;
    }
}

TEST_F(LauncherTest, ADesktopThatDoesNotAnswerIsNotWaitedFor) {
    makeRecorder("bin/mousepad");
    makeExecutable("bin/xdg-mime", "#!/bin/sh\nsleep 60\n");
    EXPECT_EQ(opened(), (QList<QByteArray>{"mousepad", nativeFile()}));
    const QByteArray state = readFile(at("record.state"));
    EXPECT_TRUE(state.contains("report 0\n") && state.contains("signals 0\n")) << state.constData();
}

} // namespace
