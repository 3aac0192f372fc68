#include "tests/workspace/editWindow.h"

#include <QElapsedTimer>
#include <QFile>

namespace {

using DesktopWithout = EditWindow;

TEST_F(DesktopWithout, AWorkingFileBrowserNothingWaitsOrComplains) {
    extract({{"a folder/pic.png", "png"}});
    select("a folder", QString());
    const QByteArray path = qgetenv("PATH");
    QElapsedTimer timer;
    qputenv("PATH", "/nonexistent");
    timer.start();
    click("cmdOpenFolder");
    EXPECT_LT(timer.elapsed(), 6000); // half of what the one below takes
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
}

} // namespace
