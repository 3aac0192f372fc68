#include "tests/workspace/editWindow.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

namespace {

// The desktop's file browser is a program of the test's.
class OpenFolder : public EditWindow {
  protected:
    void SetUp() override {
        m_path = qgetenv("PATH");
        browser = program("bin/xdg-open");
        qputenv("PATH", QFile::encodeName(inRoot("bin")) + ':' + m_path);
        extract({{"a folder/pic.png", "png"}, {"deep/er/b.cs", "text"}, {"root.txt", "text"}});
    }
    void TearDown() override { qputenv("PATH", m_path); }

    QString browser;

  private:
    QByteArray m_path;
};

TEST_F(OpenFolder, ShowsTheFolderOfTheSelectedNode) {
    const struct {
        const char *folder;
        const char *name;
        const char *shown; // below the work folder
    } cases[] = {
        {"a folder", "pic.png", "/a folder"},
        {"a folder", "", "/a folder"},
        {"deep\\er", "b.cs", "/deep/er"},
        {"deep\\er", "", "/deep/er"},
        {"", "root.txt", ""},
        {"", "", ""},
    };
    for (const auto &row : cases) {
        select(QString(row.folder), QString(row.name));
        click("cmdOpenFolder");
        EXPECT_EQ(arguments(browser),
                  std::vector{(game.temp() + "/My Mod" + row.shown).toStdString()})
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
    EXPECT_EQ(arguments(browser), std::vector{(moved + "/My Mod/a folder").toStdString()});
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

TEST_F(OpenFolder, NeitherWaitsNorComplainsWhereThereIsNoFileBrowser) {
    select("a folder", QString());
    QElapsedTimer timer;
    qputenv("PATH", "/nonexistent");
    timer.start();
    click("cmdOpenFolder");
    EXPECT_LT(timer.elapsed(), 1000);
    EXPECT_EQ(boxes(), "");

    // One that hangs holds nothing up.
    program("bin/xdg-open", "sleep 3");
    qputenv("PATH", QFile::encodeName(inRoot("bin")) + ":/usr/bin:/bin");
    timer.start();
    click("cmdOpenFolder");
    EXPECT_LT(timer.elapsed(), 1000);
    EXPECT_TRUE(window->form().isEnabled());
}

} // namespace
