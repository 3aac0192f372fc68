#include "archive/recordIndex.h"
#include "tests/workspace/extracted.h"

#include <QElapsedTimer>

#include <memory>
#include <optional>

TEST(frmMainSave, packs_an_edited_file_under_its_old_name_and_leaves_the_others_as_they_were) {
    const QString shown = "J\u0101nis \u65e5\u672c Map"; // in no code page
    Extracted job(kFiles, shown);
    writeFile(job.folder + "scripts/a.cs", "edited");
    // The record proves of each file that it is the extracted one, without a look into it.
    const auto record = WorkRecord::read(job.game.temp(), shown);
    ASSERT_TRUE(record);
    ASSERT_EQ(record->entries().size(), kFiles.size());
    for (const WorkRecord::Entry &entry : record->entries()) {
        platform::InputFile file;
        platform::FileInfo now;
        EXPECT_TRUE(file.open(job.folder.toStdString() + entry.path, now).ok());
        const bool wholeSeconds = now.changed % 1'000'000'000 == 0; // these prove nothing so soon
        EXPECT_TRUE(entry.timesTell || wholeSeconds) << entry.path;
        EXPECT_TRUE(entry.path == "scripts/a.cs" || entry.file.changed == now.changed)
            << entry.path;
    }
    EXPECT_EQ(joined(job.window->boldEntries()), shown.toStdString());
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
    EXPECT_EQ(job.window->note(), "1 file changed: scripts/a.cs");
    EXPECT_EQ(joined(job.window->boldEntries()), "");
    EXPECT_EQ(joined(job.window->enabledButtons()), "Extract");
    EXPECT_TRUE(job.window->isReady());
}

// Shown by a record that denies an edit.
TEST(frmMainSave, reads_no_file_that_its_record_proves_to_be_as_extracted) {
    Extracted job;
    const QString file = job.folder + "scripts/a.cs";
    writeFile(file, "A");
    setFileTime(pathOf(file), 1'000'000'000);
    platform::Folder top;
    platform::InputFile opened;
    platform::FileInfo now;
    const auto record = WorkRecord::read(job.game.temp(), "Classic");
    ASSERT_TRUE(record && top.open(job.folder.toStdString()).ok());
    WorkRecord::Entry edited = *RecordIndex(record->entries()).find("scripts/a.cs");
    ASSERT_TRUE(opened.open(file.toStdString(), edited.file).ok());
    opened.close();
    do
        ASSERT_TRUE(top.newFileInfo(now).ok());
    while (now.changed <= edited.file.changed);
    WorkRecord wrong(record->archive(), now);
    for (const WorkRecord::Entry &entry : record->entries())
        wrong.put(entry.path == edited.path ? edited : entry);
    ASSERT_TRUE(wrong.write(job.game.temp(), "Classic").ok());
    job.window->click("cmdSaveChanges");
    // Where the disk has whole seconds only, its times prove nothing.
    const bool proves = top.stampsWrites() && edited.file.changed % 1000 != 0;
    EXPECT_EQ(readArchive(job.archive).at("scripts/a.cs"), proves ? "a" : "A");
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
    job.window->waitForLook();
    QFile::remove(job.folder + "textures/sky.png");
    writeFile(job.folder + "scripts/a.cs", "edited");
    // The same content again, in another file.
    QFile::remove(job.folder + "readme.txt");
    writeFile(job.folder + "readme.txt", "r");
    job.window->returnTo({"", "scripts", "a.cs"});
    // The look at the extraction's end may still have been under way.
    EXPECT_TRUE(QTest::qWaitFor([&] { return job.window->note().contains("5 added"); }));
    const QModelIndex folder = job.window->tree()->model()->index(1, 0);
    EXPECT_TRUE(job.window->tip(1).endsWith("\nchanged since extraction"));
    EXPECT_EQ(folder.data(Qt::ToolTipRole).toString(),
              "holds files that were changed since extraction\nNew files: a.cs~, new.cs");
    EXPECT_EQ(folder.data(Qt::AccessibleDescriptionRole), folder.data(Qt::ToolTipRole));
    EXPECT_EQ(job.window->note(), "1 file changed, 5 added: scripts/a.cs, Thumbs.db, mine/own.txt, "
                                  "scripts/a.cs~, scripts/new.cs, top.txt");
    // An edit that is taken back.
    writeFile(job.folder + "scripts/a.cs", "a");
    job.window->returnTo({"", "scripts"});
    job.window->click("cmdSaveChanges");
    EXPECT_EQ(joined(job.window->bold()), "");
    const std::map<QString, QByteArray> saved = readArchive(job.archive);
    EXPECT_EQ(saved.at("scripts/new.cs"), "new");
    EXPECT_EQ(saved.at("top.txt"), "top");
    EXPECT_EQ(saved.at("mine/own.txt"), "own");
    EXPECT_EQ(saved.at("textures/sky.png"), QByteArray(5000, 's'));
    EXPECT_EQ(saved.size(), kFiles.size() + 5);
    // These were packed too and are named, as the user may not want them.
    EXPECT_TRUE(job.window->note().startsWith(
        "5 files added: Thumbs.db, mine/own.txt, scripts/a.cs~, scripts/new.cs, top.txt\n"))
        << job.window->note().toStdString();
    const QString note = job.window->note().section('\n', -1);
    EXPECT_TRUE(note.contains("scripts/a.cs~") && note.contains("Thumbs.db")) << note.toStdString();
    EXPECT_FALSE(note.contains("new.cs")) << note.toStdString();
    // Only the archive's own folders are cleaned up.
    EXPECT_FALSE(QFile::exists(job.folder + "scripts"));
    EXPECT_FALSE(QFile::exists(job.folder + "top.txt"));
    EXPECT_TRUE(QFile::exists(job.folder + "mine/own.txt"));
}

TEST(frmMainSave, lets_one_window_at_a_time_work_on_an_archive) {
    Extracted job;
    makeArchive(job.game.archive("other.vl2"), kFiles);
    // Another spelling of the same folder.
    TempGame::setTempFolder(job.game.temp() + "/../temp");
    MainWindow second;
    const auto isRefused = [](const MainWindow &window) {
        const QString process = QString("process %1 ").arg(QCoreApplication::applicationPid());
        EXPECT_TRUE(window.note().contains(process)) << window.note().toStdString();
        EXPECT_EQ(joined(window.enabledButtons()), "");
        EXPECT_TRUE(window.isReady());
    };
    second.pick("Classic");
    EXPECT_EQ(second.status(), "Select a file to edit.");
    EXPECT_EQ(second.shownTree(), job.window->shownTree());
    isRefused(second);
    writeFile(job.folder + "scripts/a.cs", "edited");
    job.window->click("cmdSaveChanges");
    EXPECT_EQ(readArchive(job.archive).at("scripts/a.cs"), "edited");
    EXPECT_EQ(joined(second.boldEntries()), "Classic");
    second.returnTo({});
    EXPECT_TRUE(QTest::qWaitFor([&] { return second.boldEntries().isEmpty(); }));
    second.pick("Classic");
    EXPECT_EQ(joined(second.enabledButtons()), "Extract");
    EXPECT_EQ(second.note(), "");
    second.click("cmdExtract");
    EXPECT_EQ(joined(second.enabledButtons()), kExtracted);
    // The first window still shows it as it was before.
    job.window->click("cmdExtract");
    isRefused(*job.window);
    second.pick("Other");
    job.window->pick("Classic");
    EXPECT_EQ(joined(job.window->enabledButtons()), kExtracted);
    // A lock that was removed by hand, with its folder, holds nothing.
    second.pick("Classic");
    isRefused(second);
    if (QFile::rename(job.game.temp(), job.game.temp() + ".old")) {
        second.pick("Classic");
        second.click("cmdExtract");
        writeFile(job.folder + "scripts/a.cs", "of the second");
        job.window->click("cmdSaveChanges");
        isRefused(*job.window);
        EXPECT_EQ(readFile(job.folder + "scripts/a.cs"), "of the second");
        writeFile(job.folder + "scripts/a.cs", "edited");
    }
    // The lock of a window that was killed.
    writeFile(job.game.temp() + "/.orvel-0123456789abcdef.part", "process 1");
    // What is left of a lock does not stop the window that shows the archive next.
    job.window.reset();
    second.pick("Classic");
    const QByteArray before = readFile(job.archive);
    second.click("cmdSaveChanges");
    EXPECT_EQ(second.note(), "Nothing was changed, and the archive was left alone.");
    EXPECT_EQ(readFile(job.archive), before);
    EXPECT_TRUE(QDir(job.game.temp()).entryList({".orvel*"}, QDir::Files | QDir::Hidden).isEmpty());
}

TEST(frmMainSave, throws_changes_away_on_Cancel) {
    Extracted job;
    const QByteArray before = readFile(job.archive);
    writeFile(job.folder + "readme.txt", "edited");
    writeFile(job.folder + "scripts/50%25.cs", "new");
    QFile::setPermissions(job.folder + "scripts/a.cs", QFile::ReadOwner);
    job.window->click("cmdCancel");
    EXPECT_FALSE(QFile::exists(job.folder + "readme.txt"));
    // What differed from the archive can be restored, where there is a trash.
    const QString files = job.game.root() + "/data/Trash/";
    EXPECT_TRUE(job.window->note().startsWith("2 edited files were "));
    EXPECT_TRUE(job.window->note().endsWith(": readme.txt, scripts/50%25.cs"))
        << job.window->note().toStdString();
    if (QDir::rootPath() == "/") {
        EXPECT_TRUE(job.window->note().contains("moved to the trash"));
        EXPECT_EQ(joined(QDir(files + "files").entryList(QDir::Files)), "50%25.cs|readme.txt");
        EXPECT_EQ(readFile(files + "files/readme.txt"), "edited");
        const QByteArray info = readFile(files + "info/readme.txt.trashinfo");
        EXPECT_TRUE(info.contains("\nPath=" + QFile::encodeName(job.folder + "readme.txt") + '\n'))
            << info.toStdString();
        EXPECT_TRUE(readFile(files + "info/50%25.cs.trashinfo").contains("/scripts/50%2525.cs\n"));
    }
    EXPECT_EQ(readFile(job.archive), before);
    EXPECT_EQ(joined(job.window->enabledButtons()), "Extract");
    // The folder of a type that the tree does not show stays, empty, and the work folder with it.
    EXPECT_EQ(joined(QDir(job.folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot)),
              "shapes");
    EXPECT_TRUE(QDir(job.folder + "shapes").isEmpty());
    if (QDir::rootPath() != "/")
        return;
    // A name that has no room for the ending of the information, and a trash that takes nothing.
    const QString longName = QString(250, 'n') + ".cs";
    for (const bool takes : {true, false}) {
        job.window->click("cmdExtract");
        writeFile(job.folder + longName, "new");
        if (takes) {
            writeFile(job.folder + "scripts/back\\slash.cs", "new");
            for (const QString &target : {job.game.root(), job.game.root() + "/nowhere"})
                EXPECT_TRUE(makeLink(pathOf(target), pathOf(job.folder + "scripts/to " +
                                                            QFileInfo(target).fileName())));
        } else {
            EXPECT_TRUE(QDir(files + "info").removeRecursively());
            writeFile(files + "info", "in the way");
        }
        job.window->click("cmdCancel");
        EXPECT_NE(QFile::exists(job.folder + longName), takes);
        EXPECT_TRUE(job.window->note().contains(takes
                                                    ? "4 edited files were moved to the trash"
                                                    : "1 edited file was left in the work folder"))
            << job.window->note().toStdString();
        EXPECT_EQ(job.window->note().contains("scripts/back\\slash.cs"), takes);
    }
    EXPECT_EQ(readFile(job.folder + longName), "new");
}

TEST(frmMainSave, deletes_files_added_at_the_top_but_only_if_the_first_file_is_there) {
    Extracted job(std::vector<ArchiveFile>{{"scripts/a.cs", "a"}}); // none of its own at the top
    writeFile(job.game.temp() + "/other.txt", "in the folder above");
    writeFile(job.folder + "own.txt", "own");
    job.window->waitForLook();
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
        job.window->waitForLook();
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
        job.window->pick("Classic");
        EXPECT_TRUE(QFile::exists(job.record())); // the folder may come back
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
    EXPECT_EQ(job.window->note(), "1 file changed: readme.txt");
    job.window->click("cmdSaveChanges");
    EXPECT_EQ(job.window->note(), "No other file was changed.");
    writeFile(job.folder + "readme.txt", "edited again");
    job.window->waitForLook();
    ASSERT_TRUE(QFile::remove(job.record()) && QDir().mkpath(job.record() + "/in the way"));
    job.window->click("cmdSaveChanges"); // says that it does not know what was edited
    job.window->click("cmdSaveChanges");
    EXPECT_EQ(readArchive(job.archive).at("readme.txt"), "edited again");
    EXPECT_TRUE(job.window->note().contains("\nThe record of the extraction could not be written"))
        << job.window->note().toStdString();
}

TEST(frmMainSave, leaves_a_file_that_an_editor_writes_after_it_was_packed) {
    Extracted job;
    writeFile(job.folder + "scripts/a.cs", "in time");
    // The bar is reset before the save of the archive and between it and the clean-up.
    writeFile(job.folder + "shapes/c.dts", "in time");
    const auto late = QObject::connect(
        job.window->control<QProgressBar>("ProgressBar"), &QProgressBar::valueChanged,
        [folder = job.folder, resets = 0](int value) mutable {
            if (value != 0 || ++resets != 2)
                return;
            writeFile(folder + "textures/sky.png", QByteArray(5000, 't'));
            writeFile(folder + "shapes/c.dts", "too late"); // others as long
        });
    job.window->click("cmdSaveChanges");
    QObject::disconnect(late);
    EXPECT_EQ(readArchive(job.archive).at("scripts/a.cs"), "in time");
    EXPECT_EQ(readArchive(job.archive).at("shapes/c.dts"), "in time");
    EXPECT_FALSE(QFile::exists(job.folder + "scripts/a.cs"));
    ASSERT_TRUE(QFile::exists(job.folder + "textures/sky.png"));
    EXPECT_EQ(readFile(job.folder + "textures/sky.png"), QByteArray(5000, 't'));
    EXPECT_EQ(joined(QDir(job.folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot)),
              "shapes|textures");
    EXPECT_EQ(joined(job.window->enabledButtons()), "Extract"); // the first file is gone
    // The entries that the save has written are no changes by another program.
    const Answers answers;
    job.window->click("cmdExtract");
    job.window->click("cmdSaveChanges");
    EXPECT_EQ(said(answers), "");
    EXPECT_EQ(readArchive(job.archive).at("shapes/c.dts"), "too late");
    EXPECT_EQ(readArchive(job.archive).at("textures/sky.png"), QByteArray(5000, 't'));
    EXPECT_FALSE(QFile::exists(job.record()));

    // An editor that still has a file open makes its folder again.
    QDir().mkpath(job.folder + "textures");
    writeFile(job.folder + "textures/sky.png", "saved once more");
    writeFile(job.folder + "shapes/c.dts", "too late"); // as the archive has it
    MainWindow next;
    next.pick(job.window->dropDown()->currentText());
    EXPECT_EQ(joined(next.boldEntries()), next.dropDown()->currentText().toStdString());
    EXPECT_TRUE(next.note().contains("not saved: textures/sky.png.")) << next.note().toStdString();
    next.click("cmdExtract");
    EXPECT_EQ(readFile(job.folder + "scripts/a.cs"), "in time");
    next.click("cmdSaveChanges");
    next.click("cmdSaveChanges"); // the version that was edited is not known
    EXPECT_EQ(readArchive(job.archive).at("textures/sky.png"), "saved once more");
}

TEST(frmMainSave, merges_what_was_changed_in_the_folder_and_in_the_archive) {
    using Content = std::optional<QByteArray>;
    struct Row {
        const char *what;
        Content base, mine, theirs, saved;
        bool conflict = false;
        bool otherEdit = true;
        const char *said = "";
    };
    constexpr const char *kKept = "\nNewer in the archive, and left so: scripts/x.cs";
    constexpr const char *kRemoved =
        "\nRemoved from the archive since the extraction, and left so: scripts/x.cs";
    constexpr const char *kRestored =
        "\nRemoved from the archive since the extraction, and added again: scripts/x.cs";
    const Row rows[] = {
        {"changed in the folder only", "a", "mine", "a", "mine"},
        {"changed in the archive only", "a", "a", "theirs", "theirs", false, true, kKept},
        {"nothing else changed", "a", "a", "theirs", "theirs", false, false, kKept},
        {"changed in the archive to as many bytes", "a", "a", "b", "b"},
        {"deleted in the folder, changed in the archive", "a", {}, "theirs", "theirs"},
        {"changed in both to the same", "a", "same", "same", "same"},
        {"changed in both", "a", "mine", "theirs", "mine", true},
        {"changed in both, and undone when told", "a", "mine", "theirs", "theirs", true, true,
         kKept},
        {"removed from the archive", "a", "a", {}, {}, false, true, kRemoved},
        {"removed, and nothing else changed", "a", "a", {}, {}, false, false, kRemoved},
        {"removed, changed in the folder", "a", "mine", {}, "mine", false, true, kRestored},
        {"added in the folder", {}, "mine", {}, "mine"},
        {"added in the archive", {}, {}, "theirs", "theirs"},
        {"added in both, the same", {}, "same", "same", "same"},
        {"added in both", {}, "mine", "theirs", "mine", true}};
    const auto filesWith = [](const Content &content) {
        std::vector<ArchiveFile> files{{"scripts/a.cs", "a"}, {"textures/sky.png", "sky"}};
        if (content)
            files.push_back({"scripts/x.cs", *content});
        return files;
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        Extracted job(filesWith(row.base));
        const QString file = job.folder + "scripts/x.cs";
        const Answers answers;
        EXPECT_TRUE(QFile::exists(job.record()));
        job.window->waitForLook();
        if (row.mine && row.mine != row.base)
            writeFile(file, *row.mine);
        else if (!row.mine)
            QFile::remove(file);
        if (row.otherEdit)
            writeFile(job.folder + "textures/sky.png", "painted");
        if (row.theirs != row.base)
            job.replaceArchive(filesWith(row.theirs));
        const QByteArray before = readFile(job.archive);
        job.window->click("cmdSaveChanges");
        if (row.conflict) {
            const std::string text = said(answers);
            EXPECT_TRUE(
                text.starts_with("16 Orvel: Classic.vl2 was not saved: scripts/x.cs changed in "))
                << text;
            EXPECT_NE(text.find("Press Save Changes again to pack yours over them. Your files "
                                "are still in " +
                                job.shownFolder()),
                      std::string::npos)
                << text;
            EXPECT_EQ("16 Orvel: " + job.window->status().toStdString() + '\n', text);
            EXPECT_EQ(joined(job.window->enabledButtons()), kExtracted);
            EXPECT_EQ(readFile(job.archive), before);
            EXPECT_EQ(readFile(file), row.mine);
            const QString theirs = job.game.temp() + "/Classic.theirs/scripts/x.cs.theirs";
            EXPECT_EQ(readFile(theirs), row.theirs);
            const bool isUndone = row.saved != row.mine;
            if (isUndone) {
                writeFile(file, *row.base);
            } else {
                // A third version meanwhile is not known to the user yet.
                job.replaceArchive(filesWith("third"));
                job.window->click("cmdSaveChanges");
                EXPECT_EQ(answers.boxes().size(), 2);
                EXPECT_EQ(readArchive(job.archive).at("scripts/x.cs"), "third");
                EXPECT_TRUE(job.window->status().contains("scripts/x.cs.theirs~2"))
                    << job.window->status().toStdString();
            }
            // Until the user deletes them.
            job.window->click("cmdSaveChanges");
            EXPECT_EQ(answers.boxes().size(), isUndone ? 1 : 2);
            EXPECT_EQ(readFile(theirs), row.theirs);
            EXPECT_EQ(readFile(theirs + "~2"), isUndone ? "" : "third");
        } else {
            EXPECT_EQ(said(answers), "");
        }
        EXPECT_EQ(job.window->status(), "Classic.vl2 was created successfully");
        const auto saved = readArchive(job.archive);
        const auto entry = saved.find("scripts/x.cs");
        EXPECT_EQ(entry == saved.end() ? Content() : entry->second, row.saved);
        EXPECT_EQ(saved.at("textures/sky.png"), row.otherEdit ? "painted" : "sky");
        EXPECT_EQ(saved.size(), row.saved ? 3U : 2U);
        EXPECT_TRUE(job.window->note().endsWith(row.said)) << job.window->note().toStdString();
        EXPECT_FALSE(QFile::exists(file));
        EXPECT_FALSE(QFile::exists(job.record()));
        EXPECT_EQ(readFile(job.archive) == before, !row.otherEdit);
    }
}

TEST(frmMainSave, keeps_edits_that_it_packed_if_the_archive_no_longer_has_them) {
    for (const bool cancels : {false, true}) {
        SCOPED_TRACE(cancels);
        Extracted job;
        const Answers answers;
        const QString edited = job.folder + "readme.txt"; // the first file
        const QString added = job.folder + "scripts/new.cs";
        writeFile(edited, "mine");
        writeFile(added, "mine, too");
        {
            QFile editors[] = {QFile(edited), QFile(added)};
            for (QFile &file : editors)
                ASSERT_TRUE(file.open(QFile::ReadWrite));
            job.window->click("cmdSaveChanges");
        }
        EXPECT_EQ(readArchive(job.archive).at("readme.txt"), "mine");
        ASSERT_EQ(readFile(edited) + readFile(added), "minemine, too");
        job.window->returnTo({});
        QCoreApplication::processEvents();
        job.window->waitForLook();
        EXPECT_EQ(job.window->bold(), QStringList());
        job.window.reset();
        job.replaceArchive(kFiles); // repaired by another program
        MainWindow window;
        window.pick("Classic");
        window.click(cancels ? "cmdCancel" : "cmdSaveChanges");
        if (cancels) {
            EXPECT_TRUE(window.note().startsWith("2 edited files were ") &&
                        window.note().endsWith(": readme.txt, scripts/new.cs"))
                << window.note().toStdString();
            continue;
        }
        EXPECT_TRUE(window.status().contains(": readme.txt changed in "))
            << window.status().toStdString();
        EXPECT_EQ(readFile(edited), "mine");
        window.click("cmdSaveChanges");
        EXPECT_EQ(answers.boxes().size(), 1U) << said(answers);
        EXPECT_EQ(readArchive(job.archive).at("readme.txt"), "mine");
        EXPECT_EQ(readArchive(job.archive).at("scripts/new.cs"), "mine, too");
        EXPECT_TRUE(window.note().endsWith("added again: scripts/new.cs"))
            << window.note().toStdString();
    }
}

TEST(frmMainSave, packs_nothing_over_a_version_that_cannot_be_kept_beside_the_work_folder) {
    const auto filesOf = [](const QByteArray &who) {
        return std::vector<ArchiveFile>{
            {"readme.txt", "r"}, {"scripts/x.cs", who}, {"scripts/x.cs.theirs", who + ", too"}};
    };
    Extracted job(filesOf("base"));
    const QString theirs = job.game.temp() + "/Classic.theirs";
    const Answers answers;
    for (const ArchiveFile &file : filesOf("mine"))
        writeFile(job.folder + file.name, file.bytes);
    job.replaceArchive(filesOf("theirs"));
    const QByteArray before = readFile(job.archive);
    writeFile(theirs, "in the way");
    for (std::size_t time = 1; time <= 2; ++time) {
        job.window->click("cmdSaveChanges");
        EXPECT_EQ(answers.boxes().size(), time);
        EXPECT_TRUE(
            job.window->status().contains("scripts/x.cs, scripts/x.cs.theirs cannot be put into"))
            << job.window->status().toStdString();
        EXPECT_EQ(readFile(job.archive), before);
    }
    QFile::remove(theirs);
    // A conflict of an earlier time.
    writeFile(theirs + "/scripts/x.cs.theirs", "stale");
    QFile::setPermissions(theirs + "/scripts/x.cs.theirs", QFile::ReadOwner);
    job.window->click("cmdSaveChanges");
    EXPECT_EQ(answers.boxes().size(), 3U);
    EXPECT_EQ(readFile(theirs + "/scripts/x.cs.theirs"), "stale");
    EXPECT_EQ(readFile(theirs + "/scripts/x.cs.theirs~2"), "theirs");
    EXPECT_EQ(readFile(theirs + "/scripts/x.cs.theirs.theirs"), "theirs, too");
    EXPECT_EQ(QDir(theirs).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList("scripts"));
    job.window->click("cmdSaveChanges");
    EXPECT_EQ(answers.boxes().size(), 3U);
    EXPECT_EQ(readArchive(job.archive).at("scripts/x.cs"), "mine");
    EXPECT_EQ(readArchive(job.archive).at("scripts/x.cs.theirs"), "mine, too");
}

TEST(frmMainSave, merges_after_the_game_or_the_work_folders_were_moved) {
    for (const QString moved : {"game", "work folders", "setting only", "name", "link", "nothing",
                                "other name", "game copied"}) {
        SCOPED_TRACE(moved.toStdString());
        const bool isLong = moved == "nothing" && QDir::rootPath() == "/"; // Windows has no room
        const QString shown = isLong ? 'C' + QString(247, 'c') : "Classic";
        Extracted job(kFiles, shown);
        const Answers answers;
        std::vector<ArchiveFile> newer = kFiles;
        newer[1].bytes = "theirs";
        const QString first = job.game.root() + "/first.vl2";
        const QString second = job.game.root() + "/second.vl2";
        if (moved == "link") {
            job.window->click("cmdCancel");
            ASSERT_TRUE(QFile::rename(job.archive, first));
            if (!makeLink(pathOf(first), pathOf(job.archive)))
                continue;
            job.window->click("cmdExtract");
        }
        writeFile(job.folder + "readme.txt", "mine");
        if (moved == "link") {
            makeArchive(second, newer);
            ASSERT_TRUE(QFile::remove(job.archive) &&
                        makeLink(pathOf(second), pathOf(job.archive)));
            job.window->click("cmdSaveChanges");
            EXPECT_EQ(readArchive(second).at("readme.txt"), "mine");
            EXPECT_EQ(readArchive(second).at("scripts/a.cs"), "theirs");
            EXPECT_EQ(readArchive(first).at("readme.txt"), "r");
            EXPECT_EQ(said(answers), "");
            continue;
        }
        if (moved == "name") { // only the file itself tells whose it is
            makeArchive(job.game.archive("made"), newer);
            writeFile(job.archive, readFile(job.game.archive("made")));
            QFile::remove(job.game.archive("made"));
        } else if (moved != "other name") {
            job.replaceArchive(newer);
        }
        const QString elsewhere = job.game.root() + "/elsewhere";
        if (moved == "setting only") {
            TempGame::setTempFolder(elsewhere);
            job.window->click("cmdSaveChanges");
            EXPECT_EQ(answers.boxes().size(), 1U);
            EXPECT_EQ(joined(job.window->enabledButtons()), "Extract");
            TempGame::setTempFolder(job.game.temp());
        }
        job.window.reset();
        const QString recorded = job.archive;
        if (moved == "name") {
            const QString renamed = job.game.archive("classic.VL2");
            ASSERT_TRUE(QFile::rename(job.archive, renamed));
            job.archive = renamed;
        } else if (moved == "other name") {
            ASSERT_TRUE(QFile::rename(job.archive, job.game.archive("other.vl2")));
        } else if (moved == "game copied") {
            std::filesystem::copy(pathOf(job.game.folder()), pathOf(elsewhere),
                                  std::filesystem::copy_options::recursive);
            QDir(job.game.folder()).removeRecursively();
            TempGame::setGameFolder(elsewhere);
        } else if (moved == "game") {
            ASSERT_TRUE(QFile::rename(job.game.folder(), elsewhere));
            TempGame::setGameFolder(elsewhere);
            job.archive.replace(job.game.folder(), elsewhere);
        } else if (moved == "work folders") {
            ASSERT_TRUE(QFile::rename(job.game.temp(), elsewhere));
            TempGame::setTempFolder(elsewhere);
        }
        MainWindow window;
        // Nothing proves that the archive is the same one.
        platform::Folder top;
        ASSERT_TRUE(top.open(job.game.root().toStdString()).ok());
        const bool wasReplaced =
            moved == "game" || (moved == "name" && !platform::namesIgnoreCase());
        if (moved == "other name" || moved == "game copied" ||
            (wasReplaced && top.birthTime("temp") == 0)) {
            window.pick(moved == "other name" ? "Other" : "Classic");
            EXPECT_EQ(joined(window.enabledButtons()), "Extract");
            EXPECT_EQ(window.note().toStdString(),
                      "The folder " + job.shownFolder() + " holds work for " +
                          QDir::toNativeSeparators(recorded).toStdString() + '.');
            continue;
        }
        window.pick(shown);
        window.click("cmdSaveChanges");
        EXPECT_EQ(QDir(job.game.temp()).entryList({".orvel*"}, QDir::Files | QDir::Hidden).size(),
                  0);
        EXPECT_EQ(window.note(), "1 file changed: readme.txt\n"
                                 "Newer in the archive, and left so: scripts/a.cs");
        EXPECT_EQ(readArchive(job.archive).at("readme.txt"), "mine");
        EXPECT_EQ(readArchive(job.archive).at("scripts/a.cs"), "theirs");
    }
}

TEST(frmMainSave, takes_no_file_that_an_earlier_extraction_left_for_an_edit) {
    for (const bool edited : {false, true}) {
        Extracted job;
        const Answers answers;
        job.window->waitForLook();
        QFile::remove(job.folder + "readme.txt"); // the first file: not extracted without it
        if (edited)
            writeFile(job.folder + "scripts/a.cs", "mine");
        std::vector<ArchiveFile> newer = kFiles;
        newer[1].bytes = "theirs";
        job.replaceArchive(newer);
        job.window->pick("Classic");
        job.window->click("cmdExtract");
        EXPECT_EQ(readFile(job.folder + "scripts/a.cs"), edited ? "mine" : "a");
        writeFile(job.folder + "shapes/c.dts", "changed");
        job.window->click("cmdSaveChanges");
        EXPECT_EQ(answers.boxes().size(), edited ? 1 : 0) << said(answers);
        EXPECT_EQ(readArchive(job.archive).at("scripts/a.cs"), "theirs");
    }
}

TEST(frmMainSave, cleans_up_what_the_archive_has_lost_before_the_window_was_opened) {
    for (const char *button : {"cmdSaveChanges", "cmdCancel"}) {
        Extracted job;
        job.window.reset();
        writeFile(job.folder + "textures/new.png", "new");
        job.replaceArchive({kFiles[0]});
        MainWindow window;
        window.pick("Classic");
        window.click(button);
        EXPECT_FALSE(QFile::exists(job.folder)) << window.note().toStdString();
        EXPECT_FALSE(QFile::exists(job.record()));
    }
}

TEST(frmMainSave, packs_over_a_version_that_no_file_can_hold_after_it_has_kept_the_archive) {
    const QString longName = QString(246, 'n') + ".css";
    QStringList names{"a.txt"};
    if (QDir::rootPath() == "/") // Windows has shorter paths
        names += {"s/" + longName, "scripts/" + longName};
    for (const QString &name : std::as_const(names)) {
        SCOPED_TRACE(name.toStdString());
        const bool isEncrypted = name == "a.txt"; // in the archive below
        const bool isKept = name.startsWith("s/");
        Extracted job({{"keep.txt", "k"}, {name, "base"}});
        const Answers answers;
        writeFile(job.folder + name, "mine");
        if (isEncrypted)
            writeFile(job.archive, readFile(dataArchive("encrypted")));
        else
            job.replaceArchive({{"keep.txt", "k"}, {name, "theirs"}});
        const QByteArray theirs = readFile(job.archive);
        const QString folder = job.game.temp() + "/Classic.theirs";
        if (isEncrypted)
            writeFile(folder + "/CLASSIC.vl2", "of an earlier conflict");
        job.window->click("cmdSaveChanges");
        EXPECT_EQ(answers.boxes().size(), 1U);
        EXPECT_EQ(readFile(job.archive), theirs);
        const QString copy = folder + (isEncrypted ? "/CLASSIC~2.vl2" : "/CLASSIC.vl2");
        EXPECT_NE(job.window->status().contains(QDir::toNativeSeparators(copy)), isKept)
            << job.window->status().toStdString();
        EXPECT_EQ(readFile(copy), isKept ? QByteArray() : theirs);
        const QStringList kept = QDir(folder + "/s").entryList(QDir::Files);
        EXPECT_EQ(kept.size(), isKept ? 1 : 0);
        if (isKept && !kept.isEmpty()) {
            EXPECT_TRUE(kept.first().startsWith("nnn") && kept.first().endsWith(".theirs"));
            EXPECT_EQ(readFile(folder + "/s/" + kept.first()), "theirs");
        }
        job.window->click("cmdSaveChanges");
        EXPECT_EQ(answers.boxes().size(), 1U) << said(answers);
        EXPECT_EQ(job.window->status(), "Classic.vl2 was created successfully");
        if (isEncrypted)
            EXPECT_NE(readFile(job.archive), theirs);
        else
            EXPECT_EQ(readArchive(job.archive).at(name), "mine");
    }
}

TEST(frmMainSave, does_not_wait_until_the_look_for_changes_has_read_a_large_file) {
    Extracted job;
    makeArchive(job.game.archive("other.vl2"), kFiles);
    job.window.reset();
    QFile::remove(job.record()); // without it, a file of any size is read
    QFile large(job.folder + "textures/sky.png");
    if (!large.resize(qint64{1} << 37)) // nearly all of it takes no room
        GTEST_SKIP() << "refused by this machine: files with holes";
    MainWindow window;
    window.pick("Classic");
    QTest::qWait(200); // it is being read
    QElapsedTimer timer;
    timer.start();
    window.pick("Other");
    EXPECT_LT(timer.elapsed(), 4000);
    EXPECT_EQ(joined(window.enabledButtons()), "Extract");
}

TEST(frmMainSave, sets_no_entry_back_whatever_became_of_the_record) {
    struct Row {
        const char *record;
        bool asks = true;
        const char *saved = "a"; // of the entry that only the archive's side has changed
    };
    QByteArray other; // the record of another archive
    for (const Row &row : {Row{"other"}, Row{"missing", false}, Row{"cut off"}, Row{"version"},
                           Row{"folder"}, Row{"empty"}, Row{"of another", false, "theirs"},
                           Row{"whole, but the folder was away", false, "theirs"},
                           Row{"deleted with the folder"}, Row{"deleted, as some files"}}) {
        const QString record = row.record;
        SCOPED_TRACE(row.record);
        Extracted job(kFiles, record == "other" ? "Other" : "Classic");
        const QByteArray whole = readFile(job.record());
        ASSERT_FALSE(whole.isEmpty());
        job.window->waitForLook();
        ASSERT_TRUE(QFile::remove(job.record()) && !QFile::exists(job.record()));
        if (record == "other") {
            other = whole;
            continue;
        }
        if (record == "cut off")
            writeFile(job.record(), whole.chopped(1));
        else if (record == "version")
            writeFile(job.record(), QByteArray(whole).replace(7, 1, "\x7F"));
        else if (record == "folder")
            QDir().mkpath(job.record() + "/in the way");
        else if (record == "empty")
            writeFile(job.record(), "");
        else if (record == "of another")
            writeFile(job.record(), other);
        else if (record.startsWith("whole")) {
            writeFile(job.record(), whole);
            const QString away = job.game.root() + "/away";
            ASSERT_TRUE(QFile::rename(QDir::cleanPath(job.folder), away));
            const MainWindow second;
            ASSERT_TRUE(QFile::rename(away, QDir::cleanPath(job.folder)));
        }
        const bool isBack = record == "deleted with the folder";
        if (isBack)
            job.window->click("cmdCancel");
        if (record == "deleted, as some files")
            QFile::remove(job.folder + "textures/sky.png");
        for (const ArchiveFile &file : kFiles)
            if (isBack) // from the trash
                writeFile(job.folder + file.name, file.bytes);
        std::vector<ArchiveFile> newer = kFiles;
        newer[1].bytes = "theirs";
        job.replaceArchive(newer);
        writeFile(job.folder + "readme.txt", "edited");
        writeFile(job.folder + "scripts/new.cs", "added");
        if (isBack)
            job.window->pick("Classic");
        const Answers answers;
        job.window->click("cmdSaveChanges");
        if (row.asks) {
            EXPECT_EQ(answers.boxes().size(), 1U);
            const QString text = job.window->status();
            EXPECT_TRUE(text.contains(": readme.txt, scripts/a.cs differ from the archive") &&
                        text.contains(record.startsWith("deleted") ? "no record"
                                      : record == "version"
                                          ? "record of the extraction is of a newer Orvel"
                                          : "record of the extraction is damaged"))
                << text.toStdString();
            EXPECT_EQ(readFile(job.game.temp() + "/Classic.theirs/scripts/a.cs.theirs"), "theirs");
            EXPECT_EQ(readArchive(job.archive).at("scripts/a.cs"), "theirs");
            job.window->click("cmdSaveChanges");
        }
        EXPECT_EQ(answers.boxes().size(), row.asks ? 1U : 0U) << said(answers);
        EXPECT_EQ(readArchive(job.archive).at("readme.txt"), "edited");
        EXPECT_EQ(readArchive(job.archive).at("scripts/new.cs"), "added");
        EXPECT_EQ(readArchive(job.archive).at("scripts/a.cs"), row.saved);
        EXPECT_EQ(joined(job.window->enabledButtons()), "Extract");
        job.window->click("cmdExtract");
        EXPECT_EQ(joined(job.window->enabledButtons()), kExtracted);
        EXPECT_EQ(job.window->note().startsWith("The record of the extraction could not be"),
                  record == "folder")
            << job.window->note().toStdString();
    }
}
