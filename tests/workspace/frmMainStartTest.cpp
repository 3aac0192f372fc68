#include "platform/error.h"
#include "platform/files.h"
#include "platform/library.h"
#include "platform/version.h"
#include "tests/support/answers.h"
#include "tests/support/archives.h"
#include "tests/support/captions.h"
#include "tests/support/disk.h"
#include "tests/support/game.h"
#include "tests/workspace/window.h"

#include <QDir>
#include <QFile>
#include <QStyleFactory>
#include <QTest>

#include <gtest/gtest.h>

TEST(frmMainStart, has_its_size_and_room_for_every_caption_in_any_style) {
    const TempGame game;
    for (const QString &style : QStyleFactory::keys()) {
        QApplication::setStyle(style);
        MainWindow window;
        EXPECT_EQ(window.form().size(), QSize(265, 473));
        EXPECT_EQ(window.dropDown()->geometry(), QRect(12, 28, 241, 21));
        expectCaptionsFit(window.form());
    }
}

TEST(frmMainStart, shows_the_version_and_offers_the_archives_in_proper_case) {
    const TempGame game;
    for (const char *name :
         {"base.vl2", "Z_DMP.vl2", "my mod.vl2", "INTERIORS.vl2", "a-b.VL2", "notes.txt"})
        writeFile(game.archive(name), "");
    MainWindow window;
    EXPECT_EQ(window.form().windowTitle(), QString("Orvel v%1").arg(kVersion));
    EXPECT_EQ(joined(window.entries()), "A-b|Base|My Mod|Z_dmp");
    EXPECT_EQ(window.dropDown()->currentText(), "");
    EXPECT_EQ(window.status(), "Please select a category.");
    EXPECT_EQ(joined(window.enabledButtons()), "");
    EXPECT_TRUE(window.button("cmdSettings")->isEnabled());
}

TEST(frmMainStart, makes_each_word_proper_case) {
    const struct {
        const char *text;
        const char *proper;
    } rows[] = {
        {"base", "Base"},
        {"Z_DMP", "Z_dmp"},
        {"TR2final-1", "Tr2final-1"},
        {"a\tb\nc\vd\fe\rf  g", "A\tB\nC\vD\fE\rF  G"},
        {"", ""},
        {"\xC3\xA9t\xC3\x89", "\xC3\x89t\xC3\xA9"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(frmMain::ProperCase(QString::fromUtf8(row.text)).toStdString(), row.proper);
}

TEST(frmMainStart, writes_the_default_work_folder_only_if_none_is_set) {
    const TempGame game;
    TempGame::setTempFolder("/nowhere/at/all");
    { const MainWindow window; }
    EXPECT_EQ(TempGame::tempFolderSetting(), "/nowhere/at/all");
    TempGame::setTempFolder("");
    { const MainWindow window; }
    EXPECT_EQ(TempGame::tempFolderSetting(), platform::programFolder() + "\\temp");
}

TEST(frmMainStart, does_not_open_if_the_recorded_game_is_gone_or_cannot_be_read) {
    const TempGame game;
    const QString gone = "Orvel could not detect Tribes 2 on your computer.";
    const QString unreadable = game.root() + "/unreadable/GameData/base";
    QDir().mkpath(game.root() + "/unreadable/GameData");
    writeFile(unreadable, "a file in the folder's place");
    const std::pair<QString, QString> rows[] = {
        {game.root(), gone},
        {"Q:\\Tribes2", gone},
        {game.root() + "/unreadable", "Orvel could not read the folder of the game's archives:\n" +
                                          QDir::toNativeSeparators(unreadable)},
    };
    for (const auto &[folder, said] : rows) {
        TempGame::setGameFolder(folder);
        frmMain window;
        try {
            window.Load();
            ADD_FAILURE() << folder.toStdString();
        } catch (const platform::RuntimeError &error) {
            EXPECT_EQ(error.description(), said);
        }
    }
}

TEST(frmMainStart, finds_the_game_whatever_the_case_and_the_separators_of_its_folder) {
    const TempGame game;
    writeFile(game.archive("base.vl2"), "");
    for (const QString &folder :
         {game.folder() + '\\', game.folder() + "//", game.root() + "\\TRIBES2"}) {
        TempGame::setGameFolder(folder);
        const MainWindow window;
        EXPECT_EQ(joined(window.entries()), "Base") << folder.toStdString();
    }
}

TEST(frmMainStart, gives_the_long_name_of_a_path) {
    const TempGame game;
    const frmMain window;
    const std::pair<QString, QString> rows[] = {
        {"", "\\"},
        {game.root() + "\\TRIBES2/gamedata\\", game.folder() + "/GameData"},
        {game.folder() + "/nothing/base", ""},
        {"Q:\\Games", ""},
    };
    for (const auto &[path, longName] : rows)
        EXPECT_EQ(window.GetLongFileName(path), QDir::toNativeSeparators(longName))
            << qPrintable(path);
    EXPECT_THROW((void)window.GetLongFileName(QString(32768, 'a')), platform::RuntimeError);
}

TEST(frmMainStart, says_which_files_exist) {
    const TempGame game;
    const frmMain window;
    const QString root = game.root() + '/';
    for (const char *name : {"plain.txt", "readonly.txt", "hidden.txt", "system.txt"})
        writeFile(root + name, "x");
    setDosAttributes(pathOf(root + "readonly.txt"), platform::AttributeReadOnly);
    setDosAttributes(pathOf(root + "hidden.txt"), platform::AttributeHidden);
    setDosAttributes(pathOf(root + "system.txt"), platform::AttributeSystem);
    for (const char *name : {"PLAIN.TXT  ", "\\\\plain.txt", "readonly.txt", "pl*.txt"})
        EXPECT_EQ(window.FileExists(root + name), 1) << name;
    for (const QString &path : {root + "hidden.txt", root + "system.txt", root + "Tribes2",
                                QString("Q:\\file.txt"), QString()})
        EXPECT_EQ(window.FileExists(path), 0) << qPrintable(path);
}

// Before all tests that load the library.
TEST(frmMainStart, gives_the_window_back_and_shows_the_error_that_stopped_a_handler) {
    const TempGame game;
    const Answers answers;
    makeArchive(game.archive("base.vl2"), {{"a.txt", "a"}});
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
    platform::Library::setFolder({});
}
