#include "tests/workspace/editWindow.h"

#include "config/modRegistry.h"
#include "platform/files.h"
#include "platform/forms.h"
#include "tests/support/disk.h"

#include <QDialog>
#include <QDir>
#include <QFile>
#include <QTest>

#include <utility>

namespace {

const char kSettingsPrompt[] = "49 Orvel: Cannot edit file. Try changing your Orvel settings.\n";
const char kSelectPrompt[] = "64 Orvel: You must select a file to edit.\n";

using EditFile = EditWindow;

TEST_F(EditFile, StartsTheProgramInItsOwnForm) {
    const struct {
        QString program;
        QString value;
        QString name;
        const char *form;
    } cases[] = {
        {"plain", "PNG", "a picture.png", "@"},
        {"my tools/edit it", "PNG", "a picture.png", "@"},
        {"Photoshop 6.0/Photoshp.exe", "PNG", "a picture.png", "\"@\""},
        {"lower/photoshp.exe", "PNG", "plain.PNG", "\"@\""},
        {"Windows Media Player/wmplayer.exe", "MPG", "intro film.mpg", "/open \"@\""},
        {kOddFolder + QString("/Photoshp.exe"), "PNG", kOddName, "\"@\""},
        {"both/wmplayer.exe/Photoshp.exe", "MPG", "intro film.mpg", "\"@\""},
        {"text/Photoshp.exe", "Text", "read me.txt", "@"},
    };
    extract({{"my files/a picture.png", "png"},
             {"my files/plain.PNG", "png"},
             {QString("my files/") + kOddName, "png"},
             {"my files/intro film.mpg", "mpg"},
             {"my files/read me.txt", "txt"}});
    for (const auto &row : cases) {
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
    ASSERT_TRUE(QDir(game.temp()).removeRecursively());
    click("cmdEditFile");
    EXPECT_EQ(startedAs(chosen), commandLine(chosen, "@", extracted("my files/read me.txt")));
    EXPECT_EQ(boxes(), "");
}

TEST_F(EditFile, TakesTheProgramOfTheLastThreeCharacters) {
    const struct {
        QString name;
        QString value; // "" if the settings window has none for it
    } cases[] = {
        {"a.png", "PNG"},  {"a.PnG", "PNG"}, {"a.jpg", "JPG"}, {"a.gif", "GIF"},  {"a.bmp", "BMP"},
        {"a.wav", "WAV"},  {"a.mp3", "MP3"}, {"a.mpg", "MPG"}, {"a.avi", "AVI"},  {"a.txt", "Text"},
        {"a.mis", "Text"}, {"a.cs", "Text"}, {"a.CS", "Text"}, {"a.dml", "Text"}, {"a.gui", "Text"},
        {"a.ifl", "Text"}, {"a.jpeg", ""},   {"readme", ""},   {"xy", ""},        {"text", ""},
    };
    std::vector<ArchiveFile> entries;
    for (const auto &row : cases)
        entries.push_back({"d/" + row.name, row.name.toUtf8()});
    extract(entries);
    for (const char *value : {"PNG", "JPG", "GIF", "BMP", "Text", "WAV", "MP3", "AVI", "MPG"})
        choose(value, program(value));
    for (const auto &row : cases) {
        select("d", row.name);
        click("cmdEditFile");
        EXPECT_TRUE(row.value.isEmpty() || !startedAs(inRoot(row.value)).empty())
            << qPrintable(row.name);
        EXPECT_EQ(boxes(), row.value.isEmpty() ? kSettingsPrompt : "") << qPrintable(row.name);
    }
    // A value of any other type is used as well, in any letter case.
    const struct {
        QString name;
        QString value;
    } more[] = {{"a.jpeg", "peg"}, {"readme", "DME"}, {"xy", "XY"}};
    for (const auto &row : more) {
        const QString other = program("other " + row.value);
        choose(row.value, other);
        EXPECT_EQ(window->form().GetProgram(row.value.toLower()), other);
        select("d", row.name);
        click("cmdEditFile");
        EXPECT_NE(startedAs(other), "") << qPrintable(row.name);
    }
    EXPECT_EQ(boxes(), "");
}

TEST_F(EditFile, OffersTheSettingsIfNoProgramIsUsable) {
    extract({{"d/a.txt", "text"}, {"d/a.png", "png"}});
    const QString missing = inRoot("no such program");
    const struct {
        const char *name;
        const char *value;
        QString path;
    } cases[] = {
        {"a.txt", "Text", missing},
        {"a.png", "PNG", QString()},
        {"a.png", "PNG", game.root()}, // a folder
    };
    for (const auto &row : cases) {
        choose(row.value, row.path);
        select("d", row.name);
        answer(platform::kAnswerCancel);
        click("cmdEditFile");
        EXPECT_EQ(boxes(), kSettingsPrompt) << row.name;
        EXPECT_TRUE(window->form().isEnabled());
        answer(platform::kAnswerOk);
        click("cmdEditFile");
        EXPECT_EQ(boxes(), kSettingsPrompt) << row.name;
        auto *settings = window->form().findChild<QDialog *>("frmSettings");
        ASSERT_TRUE(settings != nullptr && settings->isVisible()) << row.name;
        EXPECT_FALSE(window->form().isEnabled());
        EXPECT_FALSE(window->form().close());
        settings->reject();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_TRUE(window->form().isEnabled());
        EXPECT_EQ(window->form().focusWidget(), window->button("cmdEditFile"));
    }
}

TEST_F(EditFile, AsksForAFileIfNoneIsSelectedOrTheProgramDoesNotStart) {
    extract({{"d/a.png", "png"}});
    for (const char *value : {"PNG", "D", "Text"})
        choose(value, inRoot("no such program"));
    select("d", QString());
    click("cmdEditFile");
    EXPECT_EQ(boxes(), ""); // folders are ignored
    window->tree()->selectionModel()->clear();
    click("cmdEditFile");
    EXPECT_EQ(boxes(), kSelectPrompt);

    const QString unusable = inRoot("not a program");
    writeFile(unusable, "text");
    choose("PNG", unusable);
    select("d", "a.png");
    click("cmdEditFile");
    EXPECT_EQ(boxes(), kSelectPrompt);
    EXPECT_TRUE(window->form().isEnabled());
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST_F(EditFile, OpensNothingOutsideTheWorkFolder) {
    ASSERT_TRUE(QDir().mkpath(game.temp() + "/Other"));
    for (const char *name : {"/Other/a.png", "/Other/a.txt"})
        writeFile(game.temp() + name, "mine");
    extract({{"d/a.png", "png"},
             {"../Other/a.png", "png"},
             {"d/../../Other/a.txt", "text"},
             {"link/a.png", "png"}});
    std::vector<std::pair<QString, QString>> nodes = {{"..\\Other", "a.png"},
                                                      {"d\\..\\..\\Other", "a.txt"}};
    ASSERT_TRUE(QDir(game.temp() + "/My Mod/link").removeRecursively());
    if (makeLink((game.temp() + "/Other").toStdString(),
                 (game.temp() + "/My Mod/link").toStdString()))
        nodes.emplace_back("link", "a.png");
    const QString chosen = program("tool");
    const QString browser = program("bin/xdg-open");
    const FileBrowser stand(browser);
    choose("PNG", chosen);
    choose("Text", chosen);
    for (const auto &[folder, name] : nodes) {
        select(folder, name);
        click("cmdEditFile");
        EXPECT_EQ(boxes(), kSelectPrompt) << qPrintable(folder);
        click("cmdOpenFolder");
        EXPECT_EQ(boxes(), "");
    }
    EXPECT_FALSE(started(chosen));
    EXPECT_FALSE(started(browser));
}

// The search for the desktop's editor may take seconds.
TEST_F(EditFile, DropsWhatIsTypedWhileAProgramIsBeingStarted) {
    extract({{"d/a.png", "png"}});
    const QString chosen = program("tool");
    choose("PNG", chosen);
    window->form().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window->form()));
    window->tree()->setFocus();
    select("d", "a.png");
    window->typeFromOutside(Qt::Key_Home);
    QTest::keyClick(window->tree(), Qt::Key_Return);
    QCoreApplication::processEvents();
    EXPECT_EQ(window->tree()->currentIndex(), node("d", "a.png"));
    EXPECT_NE(startedAs(chosen), "");
    window->typeFromOutside(Qt::Key_Home);
    QCoreApplication::processEvents();
    EXPECT_EQ(window->tree()->currentIndex(), node("d", QString())) << "it listens again";
}

TEST_F(EditFile, TakesDoubleClickAndEnterWhileEditingIsEnabled) {
    extract({{"d/a.png", "png"}});
    const QString chosen = program("tool");
    choose("PNG", chosen);
    const auto doubleClick = [&](QPoint where) {
        QTest::mouseClick(window->tree()->viewport(), Qt::LeftButton, {}, where);
        QTest::mouseDClick(window->tree()->viewport(), Qt::LeftButton, {}, where);
    };
    const QModelIndex folder = node("d", QString());
    const bool expanded = window->tree()->isExpanded(folder);
    doubleClick(window->tree()->visualRect(folder).center());
    EXPECT_NE(window->tree()->isExpanded(folder), expanded);
    EXPECT_FALSE(started(chosen));

    window->tree()->expand(folder);
    doubleClick(window->tree()->visualRect(node("d", "a.png")).center());
    EXPECT_NE(startedAs(chosen), "");
    QTest::keyClick(window->tree(), Qt::Key_Return);
    EXPECT_NE(startedAs(chosen), "");
    // In the tree's blank area a double-click means the selected file.
    const QPoint blank = window->tree()->viewport()->rect().bottomRight() - QPoint(5, 5);
    ASSERT_FALSE(window->tree()->indexAt(blank).isValid());
    doubleClick(blank);
    EXPECT_NE(startedAs(chosen), "");

    window->button("cmdEditFile")->setEnabled(false);
    doubleClick(blank);
    QTest::keyClick(window->tree(), Qt::Key_Return);
    EXPECT_FALSE(started(chosen));
    EXPECT_EQ(boxes(), "");
}

// Whatever way the user's program writes the file.
TEST_F(EditFile, SavesTheFilesAsTheProgramsLeftThem) {
    for (const char *manner : {"by rename", "with a backup", "later"}) {
        extract({{"one/same.png", "png one"}, {"two/same.png", "png two"}, {"one/a.txt", "text"}});
        const QString chosen = program(manner, manner);
        choose("PNG", chosen);
        for (const char *folder : {"one", "two"}) {
            select(folder, "same.png");
            click("cmdEditFile");
            EXPECT_NE(startedAs(chosen), "");
            QFile file(QString::fromStdString(extracted(QString(folder) + "/same.png")));
            EXPECT_TRUE(QTest::qWaitFor(
                [&] {
                    const bool changed =
                        file.open(QIODevice::ReadOnly) && file.readAll() == "changed";
                    file.close();
                    return changed;
                },
                kPatience))
                << manner;
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

} // namespace
