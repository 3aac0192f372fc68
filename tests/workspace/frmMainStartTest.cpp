#include "platform/error.h"
#include "platform/files.h"
#include "platform/library.h"
#include "platform/version.h"
#include "tests/support/captions.h"
#include "tests/workspace/window.h"

#include <QStyleFactory>

TEST(frmMainStart, has_its_size_and_room_for_every_caption_in_any_style) {
    const TempGame game;
    for (const QString &style : QStyleFactory::keys()) {
        QApplication::setStyle(style);
        MainWindow window;
        EXPECT_EQ(window.form().size(), QSize(265, 473));
        EXPECT_EQ(window.dropDown()->geometry(), QRect(12, 28, 241, 21));
        expectCaptionsFit(window.form());
    }
    // Some desktops maximise what has a fixed size, and end a program that does not follow.
    MainWindow window;
    for (const Qt::WindowState state : {Qt::WindowMaximized, Qt::WindowFullScreen}) {
        window.form().setWindowState(state);
        EXPECT_FALSE(window.form().updatesEnabled());
        EXPECT_TRUE(QTest::qWaitFor([&] { return window.form().updatesEnabled(); }));
        EXPECT_EQ(window.form().windowState(), Qt::WindowNoState);
        EXPECT_EQ(window.form().size(), QSize(265, 473));
    }
}

TEST(frmMainStart, shows_the_version_and_offers_the_archives_in_proper_case) {
    const TempGame game;
    for (const char *name :
         {"base.vl2", "Z_DMP.vl2", "my mod.vl2", "INTERIORS.vl2", "a-b.VL2", "notes.txt"})
        writeFile(game.archive(name), "");
    TempGame::setGameFolder(game.root() + "\\TRIBES2//"); // letter case and separators are free
    MainWindow window;
    EXPECT_EQ(window.form().windowTitle(), QString("Orvel v%1").arg(kVersion));
    EXPECT_EQ(joined(window.entries()), "A-b|Base|My Mod|Z_dmp");
    EXPECT_EQ(window.dropDown()->currentText(), "");
    EXPECT_EQ(window.status(), "Please select a category.");
    EXPECT_EQ(joined(window.enabledButtons()), "");
    EXPECT_TRUE(window.button("cmdSettings")->isEnabled());
}

TEST(frmMainStart, makes_each_word_proper_case) {
    const std::pair<const char *, const char *> rows[] = {
        {"TR2final-1", "Tr2final-1"},
        {"a\tb\nc\vd\fe\rf  g", "A\tB\nC\vD\fE\rF  G"},
        {"", ""},
        {"\xC3\xA9t\xC3\x89", "\xC3\x89t\xC3\xA9"},
    };
    for (const auto &[text, proper] : rows)
        EXPECT_EQ(frmMain::ProperCase(QString::fromUtf8(text)).toStdString(), proper);
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
    for (const auto &[folder, text] : rows) {
        TempGame::setGameFolder(folder);
        frmMain window;
        try {
            window.Load();
            ADD_FAILURE() << folder.toStdString();
        } catch (const platform::RuntimeError &error) {
            EXPECT_EQ(error.description(), text);
        }
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
    for (const int attribute : {0, 1, 2, 4}) { // plain, read-only, hidden, system
        writeFile(root + QString::number(attribute) + ".txt", "x");
        setDosAttributes(pathOf(root + QString::number(attribute) + ".txt"), attribute);
    }
    for (const char *name : {"0.TXT  ", "\\\\0.txt", "1.txt", "0*.txt"})
        EXPECT_EQ(window.FileExists(root + name), 1) << name;
    for (const QString &path : {root + "2.txt", root + "4.txt", root + "Tribes2", QString()})
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
    EXPECT_FALSE(window.status().isEmpty());
    EXPECT_EQ(said(answers), "16 Orvel: " + window.status().toStdString() + '\n');
    EXPECT_TRUE(window.isReady());
    EXPECT_TRUE(window.enabledButtons().isEmpty());
    EXPECT_EQ(window.form().focusWidget(), window.dropDown());
    platform::Library::setFolder({});
}
