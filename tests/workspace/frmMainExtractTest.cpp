#include "platform/files.h"
#include "storage/storage.h"
#include "tests/workspace/window.h"

TEST(frmMainExtract, unpacks_every_entry_with_normal_attributes_and_shows_the_extracted_state) {
    constexpr int kSpecial =
        platform::kAttributeReadOnly | platform::kAttributeHidden | platform::kAttributeSystem;
    const TempGame game;
    const std::vector<ArchiveFile> files{{"readme.txt", "r", kSpecial},
                                         {"scripts/a.cs", "a", kSpecial},
                                         {"scripts/b.cs", "archive"},
                                         {"shapes/deep/c.dts", QByteArray(100000, 'c')}};
    makeArchive(game.archive("my mod.vl2"), files);
    const QString folder = game.temp() + "/My Mod/";
    writeFile(folder + "scripts/b.cs", "edited"); // stays
    ASSERT_TRUE(QFile::setPermissions(folder + "scripts/b.cs", QFile::ReadOwner));
    MainWindow window;
    window.pick("My Mod");
    window.click("cmdExtract");
    for (const ArchiveFile &file : files) {
        EXPECT_EQ(readFile(folder + file.name), file.bytes == "archive" ? "edited" : file.bytes);
        std::uint8_t attributes = kSpecial;
        EXPECT_TRUE(
            platform::attributesOf(platform::storagePath(folder + file.name), attributes).ok());
        EXPECT_EQ(attributes & kSpecial, 0);
    }
    EXPECT_EQ(joined(window.enabledButtons()), kExtracted);
    EXPECT_EQ(window.status(), "Select a file to edit.");
    EXPECT_TRUE(window.isReady());
}

TEST(frmMainExtract, notes_beside_the_prescribed_status_what_is_wrong_with_an_archive) {
    constexpr char kOdd[] = "Something about the archive is odd: ";
    const struct {
        const char *second;
        char count; // of entries, as the end record has it
        const char *behind, *listed, *extracted;
    } rows[] = {
        {"b.txt", 2, "", "", ""},
        {"b.txt", 3, "", "The archive is damaged: ", "Not every file was extracted: "},
        {"b.txt", 2, "x", kOdd, kOdd},
        {"../outside.txt", 2, "x", kOdd, "Not every file was extracted: "},
    };
    for (const auto &row : rows) {
        const TempGame game;
        makeArchive(game.archive("base.vl2"), {{"a.txt", "a"}, {row.second, "b"}});
        QByteArray bytes = readFile(game.archive("base.vl2"));
        bytes[bytes.size() - 14] = bytes[bytes.size() - 12] = row.count;
        writeFile(game.archive("base.vl2"), bytes + row.behind);
        MainWindow window;
        const auto expectNote = [&](const char *note, const char *status) {
            EXPECT_EQ(window.status(), status);
            const std::string shown = window.note().toStdString();
            EXPECT_TRUE(shown.starts_with(note) && shown.empty() == (*note == '\0')) << shown;
        };
        window.pick("Base");
        expectNote(row.listed, "Click Extract to begin editing files");
        window.click("cmdExtract");
        expectNote(row.extracted, "Select a file to edit.");
        EXPECT_FALSE(QFile::exists(game.temp() + "/outside.txt"));
        window.pick("Base");
        expectNote(row.listed, "Select a file to edit.");
        EXPECT_EQ(joined(window.enabledButtons()), kExtracted);
    }
}

TEST(frmMainExtract, leaves_nothing_of_an_archive_behind_whose_first_file_cannot_be_extracted) {
    const struct {
        const char *first, *shown;
        bool damaged;
        bool earlier; // the folder holds files of the user
    } rows[] = {
        {"../outside.txt", "..\\outside.txt", false, false},
        {"scripts/a.cs", "scripts\\a.cs", true, true},
        {"con.txt", "con.txt", false, true},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.first);
        const TempGame game;
        const QString folder = game.temp() + "/Base";
        makeArchive(game.archive("base.vl2"), {{row.first, QByteArray(5000, 'a')},
                                               {"deep/er/b.txt", "b"},
                                               {"deep/shape.dts", "s"},
                                               {"mine.txt", "not mine"},
                                               {"empty/", ""}});
        if (row.damaged) {
            const QByteArray bytes = readFile(game.archive("base.vl2"));
            const qsizetype data = bytes.indexOf(row.first) + QByteArrayView(row.first).size();
            writeFile(game.archive("base.vl2"),
                      QByteArray(bytes).replace(data, 4, "\xff\xff\xff\xff"));
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
    }
}

TEST(frmMainExtract, lists_an_archive_first_that_another_program_has_replaced) {
    const TempGame game;
    const QString archive = game.archive("base.vl2");
    makeArchive(archive, {{"a.txt", "a"}, {"b.txt", "b"}});
    MainWindow window;
    window.pick("Base");
    writeFile(archive, "no archive any more");
    window.click("cmdExtract");
    EXPECT_TRUE(window.status().startsWith("Cannot read the archive: "));
    EXPECT_EQ(joined(window.enabledButtons()), "");
    EXPECT_FALSE(QFile::exists(game.temp() + "/Base"));
    window.pick("Base");
    makeArchive(archive, {{"a.txt", "a"}});
    window.pick("Base");
    makeArchive(archive, {{"b.txt", "newer"}, {"c.txt", "c"}});
    window.click("cmdExtract");
    EXPECT_EQ(window.lines(), QStringList({"\\b.txt", "\\c.txt"}));
    EXPECT_EQ(joined(window.enabledButtons()), kExtracted);
    EXPECT_EQ(readFile(game.temp() + "/Base/b.txt"), "newer");
    EXPECT_EQ(window.note(), "");
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
