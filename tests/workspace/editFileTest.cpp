#include "tests/workspace/editWindow.h"

#include "config/modRegistry.h"
#include "platform/forms.h"

#include <QDialog>

namespace {

const char kSettingsPrompt[] = "49 Orvel: Cannot edit file. Try changing your Orvel settings.\n";

using EditFile = EditWindow;
using OpenFolder = EditWindow;

TEST_F(EditFile, StartsTheProgramInItsOwnForm) {
    const struct {
        QString program, value, name;
        const char *form;
    } rows[] = {
        {"my tools/edit it", "PNG", "a picture.png", "@"},
        {"Photoshop 6.0/Photoshp.exe", "PNG", "a picture.png", "\"@\""},
        {"lower/photoshp.exe", "PNG", "a picture.png", "\"@\""},
        {"Windows Media Player/wmplayer.exe", "MPG", "intro film.mpg", "/open \"@\""},
        {kOddFolder + QString("/Photoshp.exe"), "PNG", kOddName, "\"@\""},
        {"both/wmplayer.exe/Photoshp.exe", "MPG", "intro film.mpg", "\"@\""},
        {"text/Photoshp.exe", "Text", "read me.txt", "@"},
    };
    extract({{"my files/a picture.png", "png"},
             {QString("my files/") + kOddName, "png"},
             {"my files/intro film.mpg", "mpg"},
             {"my files/read me.txt", "txt"}});
    for (const auto &row : rows) {
        const QString chosen = program(row.program);
        choose(row.value, chosen);
        select("my files", row.name);
        click("cmdEditFile");
        EXPECT_EQ(startedAs(chosen),
                  commandLine(chosen, row.form, extracted("my files/" + row.name)));
    }
    // The path of a file that is missing is passed whole as well.
    const QString chosen = program("tool");
    choose("Text", chosen);
    window->waitForLook();
    ASSERT_TRUE(QDir(QString::fromStdString(extracted("my files"))).removeRecursively());
    click("cmdEditFile");
    EXPECT_EQ(startedAs(chosen), commandLine(chosen, "@", extracted("my files/read me.txt")));
    EXPECT_EQ(boxes(), "");
}

TEST_F(EditFile, TakesTheProgramOfTheLastThreeCharacters) {
    const struct {
        QString name;
        QString value; // "" if none is chosen for it
    } rows[] = {
        {"a.png", "PNG"},  {"a.PnG", "PNG"},  {"a.jpg", "JPG"},  {"a.gif", "GIF"},
        {"a.bmp", "BMP"},  {"a.wav", "WAV"},  {"a.mp3", "MP3"},  {"a.mpg", "MPG"},
        {"a.avi", "AVI"},  {"a.txt", "Text"}, {"a.mis", "Text"}, {"a.CS", "Text"},
        {"a.dml", "Text"}, {"a.gui", "Text"}, {"a.ifl", "Text"}, {"a.jpeg", "peg"},
        {"readme", "DME"}, {"xy", "XY"},      {"a.other", ""},   {"text", ""},
    };
    std::vector<ArchiveFile> entries;
    for (const auto &row : rows)
        entries.push_back({"d/" + row.name, "bytes"});
    extract(entries);
    for (const auto &row : rows)
        if (!row.value.isEmpty() && !QFile::exists(inRoot(row.value)))
            choose(row.value, program(row.value));
    for (const auto &row : rows) {
        select("d", row.name);
        click("cmdEditFile");
        EXPECT_TRUE(row.value.isEmpty() || !startedAs(inRoot(row.value)).empty())
            << qPrintable(row.name);
        EXPECT_EQ(boxes(), row.value.isEmpty() ? kSettingsPrompt : "") << qPrintable(row.name);
    }
}

TEST_F(EditFile, OffersTheSettingsIfNoProgramIsUsable) {
    extract({{"d/a.txt", "text"}, {"d/a.png", "png"}});
    const struct {
        const char *name, *value;
        QString path, cause;
    } rows[] = {
        {"a.txt", "Text", inRoot("no such program"),
         "There is no program " + inRoot("no such program") + '.'},
        {"a.png", "PNG", QString(), "No program is set for files of the type PNG."},
        {"a.png", "PNG", game.root(), "There is no program " + game.root() + '.'}, // a folder
        {"a.png", "PNG", "no-such-program", "There is no program no-such-program."},
    };
    for (const auto &row : rows) {
        choose(row.value, row.path);
        select("d", row.name);
        click("cmdEditFile");
        EXPECT_EQ(answers->boxes().back().cause, row.cause);
        EXPECT_EQ(boxes(platform::kAnswerOk), kSettingsPrompt) << row.name;
        EXPECT_TRUE(window->form().isEnabled());
        click("cmdEditFile");
        EXPECT_EQ(boxes(), kSettingsPrompt) << row.name;
        auto *settings = window->form().findChild<QDialog *>("frmSettings");
        ASSERT_TRUE(settings != nullptr && settings->isVisible()) << row.name;
        EXPECT_FALSE(window->form().isEnabled() || window->form().close());
        settings->reject();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_TRUE(window->form().isEnabled());
        EXPECT_EQ(window->form().focusWidget(), window->button("cmdEditFile"));
    }
}

TEST_F(EditFile, AsksForAFileIfNoneIsSelectedOrTheProgramDoesNotStart) {
    extract({{"d/a.png", "png"}});
    select("d", QString());
    click("cmdEditFile");
    EXPECT_EQ(boxes(), ""); // folders are ignored
    EXPECT_TRUE(window->note().contains("this is a folder"));
    window->tree()->selectionModel()->clear();
    click("cmdEditFile");
    EXPECT_EQ(boxes(), kSelectPrompt);
    const QString unusable = inRoot("not a program");
    writeFile(unusable, "text");
    choose("PNG", unusable);
    select("d", "a.png");
    click("cmdEditFile");
    EXPECT_EQ(boxes(), kSelectPrompt);
    EXPECT_TRUE(window->isReady());
}

TEST_F(EditFile, SaysThatAProgramHasEndedAtOnceWithAnError) {
    extract({{"d/a.png", "png"}});
    select("d", "a.png");
    for (const bool fails : {true, false}) {
        const QString tool = program(fails ? "failing" : "good", fails ? "fail" : "");
        choose("PNG", tool);
        click("cmdEditFile");
        EXPECT_NE(startedAs(tool), "");
        const QString text = tool + " has not opened a.png: it ended at once with exit code 3.";
        const std::string expected = "64 Orvel: " + text.toStdString() + '\n';
        // Longer than a failure is reported.
        EXPECT_EQ(QTest::qWaitFor([&] { return !answers->boxes().empty(); }, 2500), fails);
        EXPECT_EQ(boxes(), fails ? expected : "");
    }
}

TEST_F(EditFile, OpensNothingOutsideTheWorkFolder) {
    const QString other = game.temp() + "/Other";
    for (const char *name : {"/a.png", "/a.txt"})
        writeFile(other + name, "mine");
    extract({{"d/a.png", "png"},
             {"../Other/a.png", "png"},
             {"d/../../Other/a.txt", "text"},
             {"link/a.png", "png"}});
    const QString link = game.temp() + "/My Mod/link";
    window->waitForLook();
    ASSERT_TRUE(QDir(link).removeRecursively());
    const bool linked = makeLink(pathOf(other), pathOf(link));
    const QString chosen = program("tool");
    const QString browser = program("bin/xdg-open");
    const FileBrowser stand(browser);
    choose("PNG", chosen);
    choose("Text", chosen);
    for (const QString folder : {"..\\Other", "d\\..\\..\\Other", "link"}) {
        if (folder == "link" && !linked)
            continue;
        select(folder, folder[0] == 'd' ? "a.txt" : "a.png");
        click("cmdEditFile");
        EXPECT_EQ(boxes(), kSelectPrompt) << qPrintable(folder);
        click("cmdOpenFolder");
        EXPECT_EQ(boxes(), "");
    }
    EXPECT_FALSE(started(chosen));
    EXPECT_FALSE(started(browser));
}

TEST_F(EditFile, TakesDoubleClickAndEnterWhileEditingIsEnabled) {
    extract({{"d/a.png", "png"}});
    const QString chosen = program("tool");
    choose("PNG", chosen);
    QTreeView *tree = window->tree();
    const auto doubleClick = [&](QPoint where) {
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, where);
        QTest::mouseDClick(tree->viewport(), Qt::LeftButton, {}, where);
    };
    const QModelIndex folder = node("d", QString());
    const bool expanded = tree->isExpanded(folder);
    doubleClick(tree->visualRect(folder).center());
    EXPECT_NE(tree->isExpanded(folder), expanded);
    EXPECT_FALSE(started(chosen));

    tree->expand(folder);
    doubleClick(tree->visualRect(node("d", "a.png")).center());
    EXPECT_NE(startedAs(chosen), "");
    // What is typed while a program is being started is dropped: the search for it may take
    // seconds.
    window->form().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window->form()));
    window->typeFromOutside(Qt::Key_Home);
    QTest::keyClick(tree, Qt::Key_Return);
    QCoreApplication::processEvents();
    EXPECT_EQ(tree->currentIndex(), node("d", "a.png"));
    EXPECT_NE(startedAs(chosen), "");
    window->typeFromOutside(Qt::Key_Home);
    QCoreApplication::processEvents();
    EXPECT_EQ(tree->currentIndex(), folder) << "it listens again";
    // In the tree's blank area a double-click means the selected file.
    select("d", "a.png");
    const QPoint blank = tree->viewport()->rect().bottomRight() - QPoint(5, 5);
    ASSERT_FALSE(tree->indexAt(blank).isValid());
    doubleClick(blank);
    EXPECT_NE(startedAs(chosen), "");

    window->button("cmdEditFile")->setEnabled(false);
    doubleClick(blank);
    QTest::keyClick(tree, Qt::Key_Return);
    EXPECT_FALSE(started(chosen));
    EXPECT_EQ(boxes(), "");
}

// Whatever way the user's program writes the file.
TEST_F(EditFile, SavesTheFilesAsTheProgramsLeftThem) {
    for (const char *manner : {"by rename", "with a backup", "later"}) {
        extract({{"one/same.png", "png one"}, {"two/same.png", "png two"}, {"one/a.txt", "text"}});
        choose("PNG", program(manner, manner));
        for (const QString folder : {"one", "two"}) {
            select(folder, "same.png");
            click("cmdEditFile");
            EXPECT_NE(startedAs(inRoot(manner)), "");
            const QString file = game.temp() + "/My Mod/" + folder + "/same.png";
            EXPECT_TRUE(QTest::qWaitFor([&] { return readFile(file) == "changed"; }, kPatience));
        }
        click("cmdSaveChanges");
        const auto packed = readArchive(archive());
        EXPECT_EQ(packed.at("one/same.png"), "changed") << manner;
        EXPECT_EQ(packed.at("two/same.png"), "changed") << manner;
        EXPECT_EQ(packed.at("one/a.txt"), "text") << manner;
        window.reset();
    }
    EXPECT_EQ(boxes(), "");
}

TEST_F(OpenFolder, ShowsTheFolderOfTheSelectedNode) {
    const QString browser = program("bin/xdg-open");
    const FileBrowser stand(browser);
    extract({{"a folder/pic.png", "png"}, {"deep/er/b.cs", "text"}, {"root.txt", "text"}});
    const struct {
        QString folder, name;
        const char *shown; // below the work folder
    } rows[] = {
        {"a folder", "pic.png", "a folder"},
        {"a folder", "", "a folder"},
        {"deep\\er", "b.cs", "deep/er"},
        {"", "root.txt", ""},
    };
    for (const auto &row : rows) {
        select(row.folder, row.name);
        click("cmdOpenFolder");
        EXPECT_EQ(startedAs(browser), commandLine(browser, "\"@\"", extracted(row.shown)));
    }
    window->tree()->selectionModel()->clear();
    click("cmdOpenFolder");
    EXPECT_TRUE(window->note().contains("to open its folder"));
    // A file browser would only complain about a missing folder.
    select("a folder", QString());
    window->waitForLook();
    ASSERT_TRUE(QDir(game.temp() + "/My Mod/a folder").removeRecursively());
    click("cmdOpenFolder");
    EXPECT_FALSE(started(browser));
    EXPECT_EQ(boxes(), "");
    EXPECT_TRUE(window->form().isEnabled());
}

} // namespace
