#include "platform/error.h"
#include "platform/files.h"
#include "platform/version.h"
#include "tests/support/answers.h"
#include "tests/support/captions.h"
#include "tests/support/game.h"
#include "tests/workspace/window.h"

#include <QDir>
#include <QFile>
#include <QStyleFactory>
#include <QTest>

#include <gtest/gtest.h>

namespace {

struct Control {
    const char *name;
    const char *accessibleName;
    QRect twips;
};

const Control kControls[] = {
    {"Label1", "Select a category", {180, 180, 3615, 255}},
    {"drpVL2File", "Select a category", {180, 420, 3615, 315}},
    {"cmdExtract", "Extract", {180, 840, 1215, 375}},
    {"cmdSaveChanges", "Save Changes", {1380, 840, 1215, 375}},
    {"cmdCancel", "Cancel", {2580, 840, 1215, 375}},
    {"Label2", "Select a file to edit", {180, 1320, 3615, 255}},
    {"treArchive", "Select a file to edit", {180, 1560, 3615, 4515}},
    {"cmdEditFile", "Edit File", {180, 6180, 1215, 375}},
    {"cmdOpenFolder", "Open Folder", {1380, 6180, 1215, 375}},
    {"cmdSettings", "Settings...", {2580, 6180, 1215, 375}},
    {"ProgressBar", "Progress", {180, 6600, 3615, 315}},
    {"lblStatus", "Please select a category.", {180, 6660, 3615, 255}},
};

} // namespace

TEST(frmMainStart, places_every_control_with_the_same_margin_on_all_sides) {
    const TempGame game;
    const MainWindow window;
    QRect all;
    for (const Control &control : kControls) {
        const auto *widget = window.control<QWidget>(control.name);
        ASSERT_NE(widget, nullptr) << control.name;
        const QRect pixels(control.twips.x() / 15, control.twips.y() / 15,
                           control.twips.width() / 15, control.twips.height() / 15);
        EXPECT_EQ(widget->geometry(), pixels) << control.name;
        EXPECT_EQ(widget->accessibleName(), control.accessibleName) << control.name;
        all |= pixels;
    }
    const QSize client = const_cast<MainWindow &>(window).form().size();
    EXPECT_EQ(all, QRect(12, 12, client.width() - 24, client.height() - 24));
    EXPECT_EQ(client, QSize(273 - 8, 500 - 27));
}

TEST(frmMainStart, moves_through_the_controls_in_order_and_never_into_the_hidden_lists) {
    const TempGame game;
    MainWindow window;
    for (const char *name :
         {"cmdExtract", "cmdSaveChanges", "cmdCancel", "cmdEditFile", "cmdOpenFolder"})
        window.button(name)->setEnabled(true);
    window.form().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window.form()));
    window.dropDown()->setFocus();
    QStringList order;
    for (int step = 0; step < 9; ++step) {
        order.append(QApplication::focusWidget()->objectName());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(joined(order),
              "drpVL2File|cmdExtract|cmdSaveChanges|cmdCancel|treArchive|cmdEditFile|"
              "cmdOpenFolder|cmdSettings|drpVL2File");
}

TEST(frmMainStart, cuts_off_no_caption_in_any_style) {
    const TempGame game;
    for (const QString &style : QStyleFactory::keys()) {
        QApplication::setStyle(style);
        MainWindow window;
        expectNothingCutOff(window.form());
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
        {"my mod", "My Mod"},
        {"TR2final-1", "Tr2final-1"},
        {"a\tb\nc\vd\fe\rf", "A\tB\nC\vD\fE\rF"},
        {"two  blanks", "Two  Blanks"},
        {"", ""},
        {"\xC3\xA9t\xC3\x89", "\xC3\x89t\xC3\xA9"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(frmMain::ProperCase(QString::fromUtf8(row.text)).toStdString(), row.proper);
}

TEST(frmMainStart, writes_the_default_work_folder_only_where_none_is_set) {
    const TempGame game;
    TempGame::setTempFolder("/nowhere/at/all");
    { const MainWindow window; }
    EXPECT_EQ(TempGame::tempFolderSetting(), "/nowhere/at/all");
    TempGame::setTempFolder("");
    { const MainWindow window; }
    EXPECT_EQ(TempGame::tempFolderSetting(), platform::programFolder() + "\\temp");
}

TEST(frmMainStart, does_not_open_where_the_recorded_game_is_gone_or_cannot_be_read) {
    const TempGame game;
    const QString gone = "Orvel could not detect Tribes 2 on your computer.";
    const QString unreadable = game.root() + "/unreadable/GameData/base";
    QDir().mkpath(game.root() + "/unreadable/GameData");
    writeFile(unreadable, "a file in the folder's place");
    const std::pair<QString, QString> rows[] = {
        {game.root() + "/gone", gone},
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
    struct Row {
        QString path;
        QString longName;
    };
    const QString folder = QDir::toNativeSeparators(game.folder());
    std::vector<Row> rows = {
        {"", "\\"},
        {game.folder(), folder},
        {game.root() + "/TRIBES2/gamedata", QDir::toNativeSeparators(game.folder() + "/GameData")},
        {game.root() + "\\tribes2\\", folder},
        {game.folder() + "/nothing/base", ""},
        {"Q:\\Games", ""},
    };
    if (QDir::rootPath() == "/") {
        const auto onDrive = [](QString path) { return "Z:" + path.replace('/', '\\'); };
        rows.push_back({onDrive(game.root() + "/tribes2"), onDrive(game.folder())});
        rows.push_back({"/", "/"});
    } else {
        rows.push_back({"\\\\server\\share", "\\\\server\\share"});
    }
    for (const auto &row : rows)
        EXPECT_EQ(window.GetLongFileName(row.path).toStdString(), row.longName.toStdString())
            << row.path.toStdString();
    EXPECT_THROW((void)window.GetLongFileName(QString(32768, 'a')), platform::RuntimeError);
}

TEST(frmMainStart, says_which_files_exist) {
    const TempGame game;
    const frmMain window;
    const QString root = game.root() + '/';
    for (const char *name : {"plain.txt", "readonly.txt", "hidden.txt", "system.txt"})
        writeFile(root + name, "x");
    platform::setAttributes(root + "readonly.txt", platform::AttributeReadOnly);
    platform::setAttributes(root + "hidden.txt", platform::AttributeHidden);
    platform::setAttributes(root + "system.txt", platform::AttributeSystem);
    const struct {
        QString path;
        int exists;
    } rows[] = {
        {root + "plain.txt", 1},    {root + "PLAIN.TXT  ", 1}, {root + "\\\\plain.txt", 1},
        {root + "readonly.txt", 1}, {root + "hidden.txt", 0},  {root + "system.txt", 0},
        {root + "pl*.txt", 1},      {root + "x*.txt", 0},      {root + "Tribes2", 0},
        {root + "no/such.txt", 0},  {"Q:\\file.txt", 0},       {"", 0},
    };
    for (const auto &row : rows)
        EXPECT_EQ(window.FileExists(row.path), row.exists) << row.path.toStdString();
}
