#include "platform/files.h"
#include "tests/support/answers.h"
#include "tests/support/archives.h"
#include "tests/support/game.h"
#include "tests/workspace/window.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

TEST(frmMainExtract, unpacks_every_entry_with_normal_attributes_and_shows_the_extracted_state) {
    const TempGame game;
    const Answers answers;
    makeArchive(game.archive("my mod.vl2"),
                {{"readme.txt", "r", platform::AttributeReadOnly | platform::AttributeHidden},
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
    writeFile(game.temp() + "/Base/b.txt", "edited");
    MainWindow window;
    window.pick("Base");
    window.click("cmdExtract");
    EXPECT_EQ(readFile(game.temp() + "/Base/a.txt"), "archive");
    EXPECT_EQ(readFile(game.temp() + "/Base/b.txt"), "edited");
}

TEST(frmMainExtract, notes_beside_the_prescribed_status_what_did_not_go_well) {
    const struct {
        const char *second;
        QByteArray behind; // the archive's end
        const char *said;
    } rows[] = {
        {"b.txt", "", ""},
        {"b.txt", "x", "Something about the archive is odd: "},
        {"../outside.txt", "x", "Not every file was extracted: "},
    };
    for (const auto &row : rows) {
        const TempGame game;
        const Answers answers;
        makeArchive(game.archive("base.vl2"), {{"a.txt", "a"}, {row.second, "b"}});
        const QByteArray bytes = readFile(game.archive("base.vl2"));
        writeFile(game.archive("base.vl2"), bytes + row.behind);
        MainWindow window;
        window.pick("Base");
        window.click("cmdExtract");
        EXPECT_EQ(window.status(), "Select a file to edit.");
        EXPECT_EQ(window.note().left(static_cast<qsizetype>(qstrlen(row.said))), row.said);
        EXPECT_EQ(window.note().isEmpty(), *row.said == '\0') << window.note().toStdString();
        EXPECT_FALSE(QFile::exists(game.temp() + "/outside.txt"));
        EXPECT_EQ(joined(window.enabledButtons()), kExtracted);
        EXPECT_TRUE(answers.boxes().empty());
    }
}

TEST(frmMainExtract, leaves_nothing_of_an_archive_behind_whose_first_file_cannot_be_extracted) {
    const struct {
        const char *first;
        const char *shown;
        bool damaged;
        bool earlier; // the folder holds files of the user
    } rows[] = {
        {"../outside.txt", "..\\outside.txt", false, false},
        {"scripts/a.cs", "scripts\\a.cs", true, true},
        {"con.txt", "con.txt", false, true},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(std::string(row.first) + (row.earlier ? ", with earlier work" : ""));
        const TempGame game;
        const Answers answers;
        const QString folder = game.temp() + "/Base";
        makeArchive(game.archive("base.vl2"), {{row.first, QByteArray(5000, 'a')},
                                               {"deep/er/b.txt", "b"},
                                               {"deep/shape.dts", "s"},
                                               {"mine.txt", "not mine"},
                                               {"empty/", ""}});
        if (row.damaged) {
            QByteArray bytes = readFile(game.archive("base.vl2"));
            writeFile(game.archive("base.vl2"),
                      bytes.replace(30 + static_cast<qsizetype>(qstrlen(row.first)), 4,
                                    "\xff\xff\xff\xff"));
        }
        if (row.earlier) {
            writeFile(folder + "/mine.txt", "mine");
            writeFile(folder + "/deep/own.txt", "own");
        }
        MainWindow window;
        window.pick("Base");
        window.click("cmdExtract");
        EXPECT_EQ(joined(window.enabledButtons()), "Extract");
        EXPECT_EQ(window.status(), "Select a file to edit.");
        EXPECT_TRUE(window.note().startsWith(
            QString("Base.vl2 cannot be edited, because its first file cannot be extracted (%1): ")
                .arg(row.shown)))
            << window.note().toStdString();
        EXPECT_EQ(window.note().contains(QDir::toNativeSeparators(folder)), row.earlier);
        EXPECT_EQ(QFile::exists(folder), row.earlier);
        EXPECT_FALSE(QFile::exists(folder + "/deep/er"));
        EXPECT_FALSE(QFile::exists(folder + "/deep/shape.dts"));
        EXPECT_EQ(readFile(folder + "/mine.txt"), row.earlier ? "mine" : "");
        EXPECT_EQ(readFile(folder + "/deep/own.txt"), row.earlier ? "own" : "");
        EXPECT_TRUE(window.isReady());
        EXPECT_TRUE(answers.boxes().empty());
    }
}

TEST(frmMainExtract, sets_the_default_work_folder_if_the_setting_was_emptied_since_start_up) {
    const TempGame game;
    makeArchive(game.archive("base.vl2"), {{"a.txt", "a"}});
    MainWindow window;
    window.pick("Base");
    TempGame::setTempFolder("");
    window.click("cmdExtract");
    const QString folder = platform::nativePath(TempGame::tempFolderSetting());
    EXPECT_EQ(readFile(folder + "/Base/a.txt"), "a");
    // An empty setting must not lead to a folder at the disk's root.
    TempGame::setTempFolder("");
    window.click("cmdCancel");
    EXPECT_FALSE(QFile::exists(folder + "/Base"));
}
