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
        {"", "root.txt", ""},
    };
    for (const auto &row : cases) {
        select(QString(row.folder), QString(row.name));
        click("cmdOpenFolder");
        EXPECT_EQ(startedAs(browser), commandLine(browser, "\"@\"", extracted(row.shown)))
            << row.folder << " " << row.name;
    }
    EXPECT_EQ(boxes(), "");
    window->tree()->selectionModel()->clear();
    click("cmdOpenFolder");
    // A file browser would only complain about a missing folder.
    select("a folder", QString());
    ASSERT_TRUE(QDir(game.temp() + "/My Mod/a folder").removeRecursively());
    click("cmdOpenFolder");
    EXPECT_FALSE(started(browser));
    EXPECT_EQ(boxes(), "");
    EXPECT_TRUE(window->form().isEnabled());
}

} // namespace
