#include "tests/workspace/editWindow.h"

namespace {

const char kSelectPrompt[] = "64 Orvel: You must select a file to edit.\n";

using TextEditor = EditWindow;

TEST_F(TextEditor, FallsBackToTheDesktopsOwn) {
    extract({{"d/a.txt", "text"}});
    select("d", "a.txt");
    const QString editor = program("bin/gedit");
    qputenv("VISUAL", editor.toUtf8());
    QDir().mkpath(inRoot("applications"));
    writeFile(inRoot("applications/gedit.desktop"), "[Desktop Entry]\nExec=gedit %U\n");
    qputenv("XDG_DATA_DIRS", inRoot("").toUtf8());
    click("cmdEditFile");
    EXPECT_EQ(startedAs(editor), commandLine(editor, "@", extracted("d/a.txt")));
    choose("Text", "");
    click("cmdEditFile");
    EXPECT_EQ(startedAs(editor), commandLine(editor, "@", extracted("d/a.txt")));
    EXPECT_EQ(boxes(), "");

    // Where the desktop has none, the start fails and the user is told.
    qunsetenv("VISUAL");
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", "/nonexistent");
    click("cmdEditFile");
    EXPECT_EQ(boxes(), kSelectPrompt);
    qputenv("PATH", path);
}

} // namespace
