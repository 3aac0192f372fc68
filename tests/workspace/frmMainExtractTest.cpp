#include "platform/files.h"
#include "tests/support/answers.h"
#include "tests/support/archives.h"
#include "tests/support/game.h"
#include "tests/workspace/window.h"

#include <QDir>
#include <QFile>
#include <QLabel>

#include <gtest/gtest.h>

namespace {

constexpr char kExtracted[] = "SaveChanges|Cancel|EditFile|OpenFolder";

} // namespace

TEST(frmMainExtract, unpacks_every_entry_with_normal_attributes_and_shows_the_extracted_state) {
    const TempGame game;
    const Answers answers;
    makeArchive(game.archive("my mod.vl2"),
                {{"readme.txt", "r", platform::AttributeReadOnly},
                 {"scripts/a.cs", "a", platform::AttributeHidden | platform::AttributeSystem},
                 {"shapes/deep/c.dts", QByteArray(100000, 'c')}});
    MainWindow window;
    window.pick("My Mod");
    window.click("cmdExtract");
    const QString folder = game.temp() + "/My Mod/";
    EXPECT_EQ(readFile(folder + "readme.txt"), "r");
    EXPECT_EQ(readFile(folder + "scripts/a.cs"), "a");
    EXPECT_EQ(readFile(folder + "shapes/deep/c.dts"), QByteArray(100000, 'c'));
    for (const char *name : {"readme.txt", "scripts/a.cs"})
        EXPECT_EQ(platform::attributes(folder + name) &
                      (platform::AttributeReadOnly | platform::AttributeHidden |
                       platform::AttributeSystem),
                  0)
            << name;
    EXPECT_EQ(joined(window.enabledButtons()), kExtracted);
    EXPECT_EQ(window.status(), "Select a file to edit.");
    EXPECT_TRUE(window.isReady());
    EXPECT_TRUE(answers.boxes().empty());
}

TEST(frmMainExtract, keeps_files_that_are_in_the_work_folder_already) {
    const TempGame game;
    makeArchive(game.archive("base.vl2"), {{"a.txt", "archive"}, {"b.txt", "archive"}});
    QDir().mkpath(game.temp() + "/Base");
    writeFile(game.temp() + "/Base/b.txt", "edited");
    MainWindow window;
    window.pick("Base");
    window.click("cmdExtract");
    EXPECT_EQ(readFile(game.temp() + "/Base/a.txt"), "archive");
    EXPECT_EQ(readFile(game.temp() + "/Base/b.txt"), "edited");
}

TEST(frmMainExtract, says_beside_the_prescribed_status_what_could_not_be_extracted) {
    const TempGame game;
    const Answers answers;
    makeArchive(game.archive("base.vl2"), {{"a.txt", "a"}, {"../outside.txt", "b"}});
    MainWindow window;
    window.pick("Base");
    window.click("cmdExtract");
    EXPECT_EQ(window.status(), "Select a file to edit.");
    EXPECT_TRUE(window.control<QLabel>("lblStatus")
                    ->accessibleDescription()
                    .startsWith("Not every file was extracted: "));
    EXPECT_FALSE(QFile::exists(game.temp() + "/outside.txt"));
    EXPECT_EQ(joined(window.enabledButtons()), kExtracted);
    EXPECT_TRUE(answers.boxes().empty());
}

TEST(frmMainExtract, sets_the_default_work_folder_where_the_setting_was_emptied_meanwhile) {
    const TempGame game;
    makeArchive(game.archive("base.vl2"), {{"a.txt", "a"}});
    MainWindow window;
    window.pick("Base");
    TempGame::setTempFolder("");
    window.click("cmdExtract");
    const QString folder = platform::nativePath(TempGame::tempFolderSetting());
    EXPECT_EQ(readFile(folder + "/Base/a.txt"), "a");
    // A store that keeps nothing must not lead to a folder at the disk's root.
    TempGame::setTempFolder("");
    window.click("cmdCancel");
    EXPECT_FALSE(QFile::exists(folder + "/Base"));
}
