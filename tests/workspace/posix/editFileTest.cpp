#include "tests/workspace/editWindow.h"

#include <QDialog>
#include <QElapsedTimer>

namespace {

using Desktop = EditWindow;

TEST_F(Desktop, GivesTheTextEditorIfNoneIsChosen) {
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

    // A name without a folder is that of a program in the search path.
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", QFile::encodeName(inRoot("bin")) + ':' + path);
    choose("Text", "gedit");
    click("cmdEditFile");
    EXPECT_EQ(startedAs(editor), commandLine(editor, "@", extracted("d/a.txt")));
    choose("Text", "");

    // If the desktop has none, the start fails with a message.
    qunsetenv("VISUAL");
    qputenv("PATH", "/nonexistent");
    click("cmdEditFile");
    EXPECT_EQ(boxes(), kSelectPrompt);
    qputenv("PATH", path);
}

TEST_F(Desktop, WithoutAWorkingFileBrowserIsNotWaitedForAndTheSettingsHaveNoCloseButton) {
    extract({{"a folder/pic.png", "png"}});
    select("a folder", QString());
    const QByteArray path = qgetenv("PATH");
    QElapsedTimer timer;
    qputenv("PATH", "/nonexistent");
    timer.start();
    click("cmdOpenFolder");
    EXPECT_LT(timer.elapsed(), 6000); // half the time of the one below
    EXPECT_EQ(boxes(), "");

    const QString hangs = inRoot("xdg-open");
    writeFile(hangs, "#!/bin/sh\nsleep 12\n");
    ASSERT_TRUE(QFile::setPermissions(hangs, QFile::ReadOwner | QFile::ExeOwner));
    qputenv("PATH", QFile::encodeName(game.root()) + ":/usr/bin:/bin");
    timer.start();
    click("cmdOpenFolder");
    EXPECT_LT(timer.elapsed(), 6000);
    EXPECT_TRUE(window->form().isEnabled());
    qputenv("PATH", path);
    click("cmdSettings");
    const auto *settings = window->form().findChild<QDialog *>("frmSettings");
    EXPECT_FALSE(settings->windowFlags() & Qt::WindowCloseButtonHint);
}

} // namespace
