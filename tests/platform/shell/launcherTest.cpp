#include "platform/files.h"
#include "platform/shell.h"
#include "tests/platform/shell/shellFixture.h"

namespace {

using platform::ErrorNumber;
using platform::Shell;

// The launcher as the program starts it, with the tools that it is written with and no editor.
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
    // What ran, by its name, and its arguments.
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
    makeRecorder("bin/mousepad"); // what is taken otherwise
    for (const char *name : {"bin/nano", "bin/vim", "bin/emacs-nox", "bin/unknown", "bin/code",
                             "bin/emacsclient", "bin/listed", "bin/listed-terminal"})
        makeRecorder(name);
    makeRecorder("bin/vim.gtk3");
    ASSERT_EQ(::symlink("vim.gtk3", bytesAt("bin/gvim").constData()), 0);
    ASSERT_EQ(::symlink("emacs-nox", bytesAt("bin/emacs").constData()), 0);
    makeExecutable("bin/linked", "#!" + bytesAt("bin/code") + "\n# needs libX11.so.6\n");
    makeExecutable("bin/codium", "#!/no/such/interpreter -f\n# needs libX11.so.6\n");
    makeExecutable("bin/atom", "#!/bin/env\tnothing-there\n# needs libX11.so.6\n");
    makeEntry("shared/applications/listed.desktop", "Exec=listed --new %f");
    makeEntry("shared/applications/other.desktop", "Exec=listed-terminal %f\nTerminal=true");
    struct Row {
        QByteArray visual;
        QList<QByteArray> opened;
    };
    const QByteArray path = nativeFile();
    for (const Row &row : {
             Row{"gvim -f", {"gvim", "-f", path}},
             Row{"code --wait", {"code", "--wait", path}},
             Row{bytesAt("bin/code"), {"code", path}},
             Row{"vim -g", {"vim", "-g", path}},
             Row{"emacsclient -c", {"emacsclient", "-c", path}},
             Row{"linked", {"code", bytesAt("bin/linked"), path}},
             Row{"listed", {"listed", path}},
         }) {
        const ScopedVariable visual("VISUAL", row.visual);
        EXPECT_EQ(opened(), row.opened) << row.visual.constData();
    }
    // Programs of a terminal, unknown and missing ones, scripts that cannot run, and no programs.
    for (const char *passedOver :
         {"nano", "vim", "vim.gtk3", "emacs", "emacsclient -t", "emacsclient", "unknown",
          "listed-terminal", "missing", "codium", "atom", "exit 0", "$(touch x); *"}) {
        const ScopedVariable visual("VISUAL", passedOver);
        EXPECT_EQ(opened(), (QList<QByteArray>{"mousepad", path})) << passedOver;
    }
}

TEST_F(LauncherTest, TheDesktopsDefaultIsStartedAsItsEntrySays) {
    makeRecorder("bin/mousepad"); // what is taken otherwise
    makeRecorder("bin/ed-it");
    const QByteArray path = nativeFile();
    makeDefault("my-editor.desktop");
    struct Row {
        const char *lines;
        QList<QByteArray> opened;
    };
    const QByteArray entry = bytesAt("data/applications/my/editor.desktop");
    for (const Row &row : {
             Row{"Exec=ed-it %f", {"ed-it", path}},
             Row{"Exec=ed-it %U", {"ed-it", path}},
             Row{"Exec = ed-it --new %F --end", {"ed-it", "--new", path, "--end"}},
             Row{"Exec=ed-it --file=%f", {"ed-it", "--file=" + path}},
             Row{"Exec=ed-it", {"ed-it", path}},
             Row{"Exec=ed-it \"two words\" \"a\\\\\"b\" 100%% %i %c %k %u",
                 {"ed-it", "two words", "a\"b", "100%", "The Editor", entry, path}},
             Row{"Exec=ed-it $HOME `id` %f", {"ed-it", "$HOME", "`id`", path}},
             Row{"Terminal=false\r\nExec=ed-it %f\r", {"ed-it", path}},
             Row{"Exec=ed-it %f\nTerminal=true", {"mousepad", path}},
             Row{"Exec=ed-it %f\nHidden=true", {"mousepad", path}},
             Row{"Exec=missing %f", {"mousepad", path}},
             Row{"", {"mousepad", path}},
         }) {
        makeEntry("data/applications/my/editor.desktop", row.lines);
        EXPECT_EQ(opened(), row.opened) << row.lines;
    }
}

TEST_F(LauncherTest, TheUsersEntriesComeBeforeTheSharedOnes) {
    makeRecorder("bin/mine");
    makeRecorder("bin/theirs");
    makeDefault("editor.desktop");
    makeEntry("shared/applications/editor.desktop", "Exec=theirs %f");
    EXPECT_EQ(opened(), (QList<QByteArray>{"theirs", nativeFile()}));
    makeEntry("data/applications/editor.desktop", "Exec=mine %f");
    EXPECT_EQ(opened(), (QList<QByteArray>{"mine", nativeFile()}));
    makeEntry("home/.local/share/applications/editor.desktop", "Exec=mine --home %f");
    {
        const ScopedVariable home("HOME", bytesAt("home"));
        const ScopedVariable relative("XDG_DATA_HOME", "data");
        EXPECT_EQ(opened(), (QList<QByteArray>{"mine", "--home", nativeFile()}));
    }
    makeDefault("gone.desktop");
    expectError(ErrorNumber::FileNotFound, [&] { open(); });
}

TEST_F(LauncherTest, ADesktopThatDoesNotAnswerIsNotWaitedFor) {
    makeRecorder("bin/mousepad");
    makeExecutable("bin/xdg-mime", "#!/bin/sh\nsleep 60\n");
    EXPECT_EQ(opened(), (QList<QByteArray>{"mousepad", nativeFile()}));
}

TEST_F(LauncherTest, TheEditorDoesNotSeeHowItWasStarted) {
    makeRecorder("bin/kate");
    EXPECT_EQ(opened(), (QList<QByteArray>{"kate", nativeFile()}));
    const QByteArray state = contentOf(at("record.state"));
    EXPECT_TRUE(state.contains("report 0\n")) << state.constData();
    EXPECT_TRUE(state.startsWith("open /dev/null\nopen /dev/null\nopen /dev/null\nsignals 0\n"))
        << state.constData();
}

} // namespace
