#include "tests/workspace/editWindow.h"

#include <QDir>

namespace {

class OpenFolder : public EditWindow {
  protected:
    void SetUp() override {
        extract({{"a folder/pic.png", "png"}, {"deep/er/b.cs", "text"}, {"root.txt", "text"}});
    }

    const QString browser = program("bin/xdg-open");
    const FileBrowser stand{browser};
};

TEST_F(OpenFolder, ShowsTheFolderOfTheSelectedNode) {
    const struct {
        const char *folder;
        const char *name;
        const char *shown; // below the work folder
    } cases[] = {
        {"a folder", "pic.png", "a folder"},
        {"a folder", "", "a folder"},
        {"deep\\er", "b.cs", "deep/er"},
        {"deep\\er", "", "deep/er"},
        {"", "root.txt", ""},
        {"", "", ""},
    };
    for (const auto &row : cases) {
        select(QString(row.folder), QString(row.name));
        click("cmdOpenFolder");
        EXPECT_EQ(startedAs(browser), commandLine(browser, "\"@\"", extracted(row.shown)))
            << row.folder << " " << row.name;
    }
    EXPECT_EQ(boxes(), "");
}

TEST_F(OpenFolder, ReadsTheWorkFolderAnewAtEachPress) {
    const QString moved = inRoot("moved");
    ASSERT_TRUE(QDir().mkpath(moved + "/My Mod/a folder"));
    select("a folder", QString());
    TempGame::setTempFolder(moved);
    click("cmdOpenFolder");
    EXPECT_EQ(startedAs(browser),
              commandLine(browser, "\"@\"", inRoot("moved/My Mod/a folder").toStdString()));
}

// A file browser would only complain of it.
TEST_F(OpenFolder, SaysNothingOfAFolderThatIsGone) {
    select("a folder", QString());
    ASSERT_TRUE(QDir(game.temp() + "/My Mod/a folder").removeRecursively());
    click("cmdOpenFolder");
    EXPECT_FALSE(started(browser));
    EXPECT_EQ(boxes(), "");
    EXPECT_TRUE(window->form().isEnabled());
}

TEST_F(OpenFolder, DoesNothingWithoutASelectedNode) {
    window->tree()->selectionModel()->clear();
    click("cmdOpenFolder");
    EXPECT_FALSE(started(browser));
    EXPECT_EQ(boxes(), "");
}

} // namespace
