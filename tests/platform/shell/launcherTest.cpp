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
        for (const char *tool : {"grep", "sed", "sleep", "timeout", "tr", "xargs"}) {
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
                           "\n[Desktop Action other]\nExec=false\n");
    }
};

TEST_F(LauncherTest, VisualIsTakenIfItNamesAProgramWithAWindow) {
    for (const char *name : {"bin/nano", "bin/vim", "bin/g++edit", "bin/my.ed"})
        makeRecorder(name);
    makeEntry("shared/applications/vim.desktop", "Exec=vim %F\nTerminal=true");
    makeEntry("shared/applications/one two/g.desktop", "Exec = /usr/bin/g++edit --new %F");
    makeEntry("data/applications/my.desktop", "Exec=\"my.ed\"");
    makeFile("bin/no-program");
    makeEntry("data/applications/no.desktop", "Exec=no-program");
    makeEntry("data/applications/missing.desktop", "Exec=missing %f");
    const QByteArray path = nativeFile();
    for (const QByteArray &taken : {QByteArray("my.ed"), bytesAt("bin/my.ed")}) {
        const ScopedVariable visual("VISUAL", taken);
        EXPECT_EQ(opened(), (QList<QByteArray>{"my.ed", path})) << taken.constData();
    }
    // The editor does not see how it was started.
    const QByteArray state = readFile(at("record.state"));
    EXPECT_TRUE(state.contains("report 0\n")) << state.constData();
    EXPECT_TRUE(state.startsWith("open /dev/null\nopen /dev/null\nopen /dev/null\nsignals 0\n"))
        << state.constData();
    const ScopedVariable plus("VISUAL", "g++edit -f");
    EXPECT_EQ(opened(), (QList<QByteArray>{"g++edit", "-f", path}));
    for (const char *passedOver :
         {"nano", "vim", "my.ed -nw", "missing", "no-program", "exit 0", "$(touch x); *"}) {
        const ScopedVariable visual("VISUAL", passedOver);
        expectError(ErrorNumber::FileNotFound, [&] { open(); });
    }
    makeRecorder("bin/gio"); // starts the default instead
    makeDefault("other.desktop");
    makeEntry("data/applications/other.desktop", "Exec=other %f");
    const ScopedVariable terminal("VISUAL", "vim");
    EXPECT_EQ(opened(), (QList<QByteArray>{"gio", "launch",
                                           bytesAt("data/applications/other.desktop"), path}));
}

TEST_F(LauncherTest, TheDesktopsDefaultIsStartedByTheDesktop) {
    const QByteArray path = nativeFile();
    makeDefault("my-editor.desktop");
    makeEntry("data/applications/my/editor.desktop", "Exec=edit");
    expectError(ErrorNumber::FileNotFound, [&] { open(); });
    makeRecorder("bin/gtk-launch");
    EXPECT_EQ(opened(), (QList<QByteArray>{"gtk-launch", "my-editor.desktop", path}));
    makeRecorder("bin/gio");
    ASSERT_TRUE(QFile::remove(at("data/applications/my/editor.desktop")));
    for (const char *entry : {"shared/applications/my-editor.desktop",
                              "data/applications/my/editor.desktop", // the user's come first
                              "home/.local/share/applications/my-editor.desktop"}) {
        const bool atHome = QByteArray(entry).startsWith("home");
        makeEntry(entry, "Exec=edit");
        const ScopedVariable home("HOME", bytesAt("home"));
        const ScopedVariable data("XDG_DATA_HOME", atHome ? "relative" : bytesAt("data"));
        EXPECT_EQ(opened(), (QList<QByteArray>{"gio", "launch", bytesAt(entry), path}));
    }
    for (const char *refused : {"Exec=edit\nTerminal=true", "Exec=edit\nHidden = true\r"}) {
        makeEntry("data/applications/my/editor.desktop", refused);
        expectError(ErrorNumber::FileNotFound, [&] { open(); });
    }
    makeEntry("data/applications/org.orvel.Orvel.desktop", "Exec=orvel");
    for (const char *id : {"org.orvel.Orvel.desktop", "gone.desktop"}) {
        makeDefault(id);
        expectError(ErrorNumber::FileNotFound, [&] { open(); });
    }
    makeExecutable("bin/xdg-mime", "#!/bin/sh\nsleep 60\n");
    expectError(ErrorNumber::FileNotFound, [&] { open(); });
    EXPECT_EQ(recorded(200), QList<QByteArray>());
}

} // namespace
