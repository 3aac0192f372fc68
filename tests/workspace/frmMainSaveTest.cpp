#include "tests/workspace/window.h"

#include <memory>

namespace {

const std::vector<ArchiveFile> kFiles{{"readme.txt", "r"},
                                      {"scripts/a.cs", "a"},
                                      {"shapes/c.dts", "c"},
                                      {"textures/sky.png", QByteArray(5000, 's')}};

// A game whose one archive is extracted in the window.
struct Extracted {
    TempGame game;
    QString archive;
    QString folder;
    std::unique_ptr<MainWindow> window;

    explicit Extracted(const std::vector<ArchiveFile> &files = kFiles,
                       const QString &shown = "Classic")
        : archive(game.archive(shown.toUpper() + ".vl2")), folder(game.temp() + '/' + shown + '/') {
        makeArchive(game.archive("made"), files);
        EXPECT_TRUE(QFile::rename(game.archive("made"), archive));
        window = std::make_unique<MainWindow>();
        window->pick(shown);
        window->click("cmdExtract");
        EXPECT_EQ(joined(window->enabledButtons()), kExtracted);
    }
    std::string shownFolder() const {
        return QDir::toNativeSeparators(QDir::cleanPath(folder)).toStdString();
    }
};

} // namespace

TEST(frmMainSave, packs_an_edited_file_under_its_old_name_and_leaves_the_others_as_they_were) {
    const QString shown = "J\u0101nis \u65e5\u672c Map"; // in no code page
    Extracted job(kFiles, shown);
    writeFile(job.folder + "scripts/a.cs", "edited");
    // A date in the future, as of an archive from another time zone.
    setFileTime(pathOf(job.folder + "readme.txt"), 2'100'000'000);
    job.window->click("cmdSaveChanges");
    EXPECT_EQ(QDir(job.game.base()).entryList(QDir::Files),
              QStringList{QFileInfo(job.archive).fileName()});
    ASSERT_TRUE(QFile::rename(job.archive, job.game.archive("plain.vl2")));
    const std::map<QString, QByteArray> saved = readArchive(job.game.archive("plain.vl2"));
    EXPECT_EQ(saved.size(), kFiles.size());
    for (const ArchiveFile &file : kFiles) {
        EXPECT_EQ(saved.at(file.name), file.name == "scripts/a.cs" ? "edited" : file.bytes);
        EXPECT_FALSE(QFile::exists(job.folder + file.name)) << file.name.toStdString();
    }
    EXPECT_EQ(job.window->status(), shown + ".vl2 was created successfully");
    EXPECT_EQ(joined(job.window->enabledButtons()), "Extract");
    EXPECT_TRUE(job.window->isReady());
}

TEST(frmMainSave, packs_files_that_were_added_and_keeps_entries_whose_files_were_deleted) {
    Extracted job;
    writeFile(job.folder + "scripts/new.cs", "new");
    writeFile(job.folder + "top.txt", "top");
    for (const char *leftover : {"scripts/a.cs~", "Thumbs.db"})
        writeFile(job.folder + leftover, "left behind");
    // Deleted files that a program still has open.
    for (const char *deleted : {".fuse_hidden0000001600000007", ".nfs00000000018b3c9700000001"})
        writeFile(job.folder + "mine/" + deleted, "deleted");
    writeFile(job.folder + "mine/own.txt", "own");
    QFile::remove(job.folder + "textures/sky.png");
    job.window->click("cmdSaveChanges");
    const std::map<QString, QByteArray> saved = readArchive(job.archive);
    EXPECT_EQ(saved.at("scripts/new.cs"), "new");
    EXPECT_EQ(saved.at("top.txt"), "top");
    EXPECT_EQ(saved.at("mine/own.txt"), "own");
    EXPECT_EQ(saved.at("textures/sky.png"), QByteArray(5000, 's'));
    EXPECT_EQ(saved.size(), kFiles.size() + 5);
    // These were packed too and are named, as the user may not want them.
    const QString note = job.window->note();
    EXPECT_TRUE(note.contains("scripts/a.cs~") && note.contains("Thumbs.db")) << note.toStdString();
    EXPECT_FALSE(note.contains("new.cs")) << note.toStdString();
    // Only the archive's own folders are cleaned up.
    EXPECT_FALSE(QFile::exists(job.folder + "scripts"));
    EXPECT_FALSE(QFile::exists(job.folder + "top.txt"));
    EXPECT_TRUE(QFile::exists(job.folder + "mine/own.txt"));
}

TEST(frmMainSave, throws_changes_away_on_Cancel) {
    Extracted job;
    const QByteArray before = readFile(job.archive);
    writeFile(job.folder + "readme.txt", "edited");
    writeFile(job.folder + "scripts/new.cs", "new");
    QFile::setPermissions(job.folder + "scripts/a.cs", QFile::ReadOwner);
    job.window->click("cmdCancel");
    EXPECT_EQ(readFile(job.archive), before);
    EXPECT_EQ(joined(job.window->enabledButtons()), "Extract");
    // The folder of a type that the tree does not show stays, empty, and the work folder with it.
    EXPECT_EQ(joined(QDir(job.folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot)),
              "shapes");
    EXPECT_TRUE(QDir(job.folder + "shapes").isEmpty());
}

TEST(frmMainSave, deletes_files_added_at_the_top_but_only_if_the_first_file_is_there) {
    Extracted job(std::vector<ArchiveFile>{{"scripts/a.cs", "a"}}); // none of its own at the top
    writeFile(job.game.temp() + "/other.txt", "in the folder above");
    writeFile(job.folder + "own.txt", "own");
    QFile::rename(job.folder + "scripts/a.cs", job.folder + "scripts/b.cs");
    job.window->click("cmdCancel");
    EXPECT_TRUE(QFile::exists(job.folder + "own.txt"));
    EXPECT_EQ(joined(job.window->enabledButtons()), "Extract");
    job.window->click("cmdExtract");
    job.window->click("cmdSaveChanges");
    EXPECT_EQ(readArchive(job.archive).at("own.txt"), "own");
    EXPECT_FALSE(QFile::exists(job.folder));
    EXPECT_TRUE(QFile::exists(job.game.temp() + "/other.txt"));
}

TEST(frmMainSave, keeps_the_work_folder_and_says_so_if_packing_fails) {
    for (const QString fault : {"folder", "damage", "none"}) { // in place of the archive
        SCOPED_TRACE(fault.toStdString());
        Extracted job;
        const Answers answers;
        writeFile(job.folder + "readme.txt", "edited");
        QFile::remove(job.archive);
        if (fault == "folder")
            QDir().mkpath(job.archive + "/in the way");
        else if (fault == "damage")
            writeFile(job.archive, "PK\3\4 and nothing else");
        job.window->click("cmdSaveChanges");
        EXPECT_TRUE(said(answers).starts_with("16 Orvel: Classic.vl2 was not saved: "));
        EXPECT_NE(said(answers).find(job.shownFolder()), std::string::npos) << said(answers);
        EXPECT_EQ("16 Orvel: " + job.window->status().toStdString() + '\n', said(answers));
        EXPECT_EQ(readFile(job.folder + "readme.txt"), "edited");
        EXPECT_EQ(readFile(job.folder + "scripts/a.cs"), "a");
        EXPECT_EQ(joined(job.window->enabledButtons()), kExtracted);
        EXPECT_TRUE(job.window->isReady());
    }
}

TEST(frmMainSave, says_so_and_offers_to_extract_if_the_work_folder_has_no_files) {
    for (const bool gone : {true, false}) {
        Extracted job;
        const Answers answers;
        const QByteArray before = readFile(job.archive);
        ASSERT_TRUE(QDir(job.folder).removeRecursively());
        ASSERT_TRUE(gone || QDir().mkpath(job.folder + "scripts"));
        job.window->click("cmdSaveChanges");
        const char *why = gone ? "its work folder is no longer there: " : "there is no file in ";
        const std::string text =
            std::string("Classic.vl2 was not saved: ") + why + job.shownFolder();
        EXPECT_EQ(said(answers), "16 Orvel: " + text + '\n');
        EXPECT_EQ(job.window->status().toStdString(), text);
        EXPECT_EQ(joined(job.window->enabledButtons()), "Extract");
        EXPECT_EQ(readFile(job.archive), before);
    }
}

TEST(frmMainSave, keeps_the_work_folder_and_says_what_was_skipped) {
    Extracted job;
    const Answers answers;
    writeFile(job.folder + "readme.txt", "edited");
    if (!makeLink((job.game.root() + "/nowhere").toStdString(),
                  (job.folder + "scripts/dangling.cs").toStdString()))
        GTEST_SKIP() << "there are no links here";
    job.window->click("cmdSaveChanges");
    const std::string text = said(answers);
    EXPECT_TRUE(text.starts_with("16 Orvel: Classic.vl2 was saved, but not all of it: ")) << text;
    EXPECT_NE(text.find("dangling.cs"), std::string::npos) << text;
    EXPECT_EQ(readArchive(job.archive).at("readme.txt"), "edited");
    EXPECT_EQ(readFile(job.folder + "readme.txt"), "edited");
    EXPECT_EQ(joined(job.window->enabledButtons()), kExtracted);
}

TEST(frmMainSave, leaves_a_file_that_an_editor_writes_after_it_was_packed) {
    Extracted job;
    writeFile(job.folder + "scripts/a.cs", "in time");
    // The bar is reset between the save of the archive and the clean-up.
    QObject::connect(job.window->control<QProgressBar>("ProgressBar"), &QProgressBar::valueChanged,
                     [file = job.folder + "textures/sky.png"](int value) {
                         if (value == 0)
                             writeFile(file, QByteArray(5000, 't')); // as long as before
                     });
    job.window->click("cmdSaveChanges");
    EXPECT_EQ(readArchive(job.archive).at("scripts/a.cs"), "in time");
    EXPECT_FALSE(QFile::exists(job.folder + "scripts/a.cs"));
    ASSERT_TRUE(QFile::exists(job.folder + "textures/sky.png"));
    EXPECT_EQ(readFile(job.folder + "textures/sky.png"), QByteArray(5000, 't'));
    EXPECT_EQ(joined(QDir(job.folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot)),
              "shapes|textures");
    EXPECT_EQ(joined(job.window->enabledButtons()), "Extract"); // the first file is gone
}
