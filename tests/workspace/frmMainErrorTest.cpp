#include "platform/library.h"
#include "tests/support/answers.h"
#include "tests/support/archives.h"
#include "tests/support/game.h"
#include "tests/workspace/window.h"

#include <QDir>

#include <gtest/gtest.h>

TEST(frmMainError, gives_the_window_back_and_shows_the_error_that_stopped_a_handler) {
    const TempGame game;
    const Answers answers;
    makeArchive(game.archive("base.vl2"), {{"a.txt", "a"}});
    QDir().mkpath(game.root() + "/broken");
    for (const char *name : {"libvl2uzip.so", "vl2uzip.dll"})
        writeFile(game.root() + "/broken/" + name, "not a library");
    platform::Library::setFolder(game.root() + "/broken");

    MainWindow window;
    window.pick("Base");
    ASSERT_EQ(answers.boxes().size(), 1U);
    EXPECT_EQ(answers.boxes()[0].style, platform::kCritical);
    EXPECT_EQ(answers.boxes()[0].title, "Orvel");
    EXPECT_FALSE(answers.boxes()[0].text.isEmpty());
    EXPECT_EQ(window.status(), answers.boxes()[0].text);
    EXPECT_TRUE(window.isReady());
    EXPECT_TRUE(window.enabledButtons().isEmpty());
    EXPECT_EQ(window.form().focusWidget(), window.dropDown());
}
