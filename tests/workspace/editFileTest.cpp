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
        {"upper/PHOTOSHP.EXE", "PNG", "plain.PNG", "\"@\""},
        {"Windows Media Player/wmplayer.exe", "MPG", "intro film.mpg", "/open \"@\""},
        {kOddFolder + QString("/Photoshp.exe"), "PNG", "a picture.png", "\"@\""},
        {"both/wmplayer.exe/Photoshp.exe", "MPG", "intro film.mpg", "\"@\""},
        {"both/photoshp.exe/wmplayer.exe", "MPG", "intro film.mpg", "\"@\""},
        {"my tools/write it", "Text", "read me.txt", "@"},
        {"text/Photoshp.exe", "Text", "read me.txt", "@"},
        {"text/wmplayer.exe", "Text", "read me.txt", "@"},
    };
    extract({{"my files/a picture.png", "png"},
             {"my files/plain.PNG", "png"},
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
    EXPECT_EQ(boxes(), "");
}

TEST_F(EditFile, TakesTheProgramOfTheLastThreeCharacters) {
    const struct {
        QString name;
        QString value; // "" where no value of the settings window serves it
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
    // A value of a type that has no row is used all the same, in any case of its letters.
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

TEST_F(EditFile, OffersTheSettingsWhereNoProgramIsUsable) {
    extract({{"d/a.txt", "text"}, {"d/a.png", "png"}});
    const QString missing = inRoot("no such program");
    const struct {
        const char *name;
        const char *value;
        QString path;
    } cases[] = {
        {"a.txt", "Text", missing},  {"a.txt", "Text", game.root()}, // a folder
        {"a.png", "PNG", QString()}, {"a.png", "PNG", missing},      {"a.png", "PNG", game.root()},
    };
    for (const auto &row : cases) {
        for (const int given : {platform::kAnswerCancel, platform::kAnswerOk}) {
            answer(given);
            choose(row.value, row.path);
            select("d", row.name);
            click("cmdEditFile");
            EXPECT_EQ(boxes(), kSettingsPrompt) << row.name;
            auto *settings = window->form().findChild<QDialog *>("frmSettings");
            ASSERT_EQ(settings != nullptr, given == platform::kAnswerOk) << row.name;
            EXPECT_EQ(window->form().isEnabled(), !settings);
            if (settings) {
                EXPECT_TRUE(settings->isVisible());
                EXPECT_FALSE(window->form().close());
                EXPECT_TRUE(window->form().isVisible());
                settings->reject();
                QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
                EXPECT_TRUE(window->form().isEnabled());
                EXPECT_EQ(window->form().focusWidget(), window->button("cmdEditFile"));
            }
        }
    }
}

TEST_F(EditFile, AsksForAFileWhereNoneIsSelectedOrTheProgramDoesNotStart) {
    extract({{"d/a.png", "png"}});
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

// Looking for the desktop's editor takes seconds at times.
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

TEST_F(EditFile, PassesOverFoldersWithoutAWord) {
    extract({{"d/a.png", "png"}});
    const QString chosen = program("tool");
    for (const char *value : {"PNG", "D", "Text"})
        choose(value, chosen);
    select("d", QString());
    click("cmdEditFile");
    EXPECT_FALSE(started(chosen));
    EXPECT_EQ(boxes(), "");
}

TEST_F(EditFile, ListensToDoubleClickAndEnterWhileEditingIsEnabled) {
    extract({{"d/a.png", "png"}});
    const QString chosen = program("tool");
    choose("PNG", chosen);
    const auto doubleClickAt = [this](QPoint where) {
        QTest::mouseClick(window->tree()->viewport(), Qt::LeftButton, {}, where);
        QTest::mouseDClick(window->tree()->viewport(), Qt::LeftButton, {}, where);
    };
    const auto doubleClick = [&](const QModelIndex &index) {
        window->tree()->scrollTo(index);
        doubleClickAt(window->tree()->visualRect(index).center());
    };
    const QModelIndex folder = node("d", QString());
    const bool expanded = window->tree()->isExpanded(folder);
    doubleClick(folder);
    EXPECT_NE(window->tree()->isExpanded(folder), expanded);
    EXPECT_FALSE(started(chosen));

    window->tree()->expand(folder);
    doubleClick(node("d", "a.png"));
    EXPECT_NE(startedAs(chosen), "");
    QTest::keyClick(window->tree(), Qt::Key_Return);
    EXPECT_NE(startedAs(chosen), "");
    // The tree's blank area belongs to the tree: the file that is selected is meant.
    const QPoint blank = window->tree()->viewport()->rect().bottomRight() - QPoint(5, 5);
    ASSERT_FALSE(window->tree()->indexAt(blank).isValid());
    doubleClickAt(blank);
    EXPECT_NE(startedAs(chosen), "");

    window->button("cmdEditFile")->setEnabled(false);
    doubleClickAt(blank);
    doubleClick(node("d", "a.png"));
    QTest::keyClick(window->tree(), Qt::Key_Return);
    EXPECT_FALSE(started(chosen));
    EXPECT_EQ(boxes(), "");
}

TEST_F(EditFile, HandsEveryFileNameOverAsItIs) {
    std::vector<ArchiveFile> entries;
    entries.reserve(kOddNames.size());
    for (const char *name : kOddNames)
        entries.push_back({QString("d/") + name, name});
    extract(entries);
    const struct {
        const char *program;
        const char *form;
    } tools[] = {{"plain", "@"}, {"a tool", "@"}, {"Photoshp.exe", "\"@\""}};
    for (const auto &tool : tools) {
        const QString chosen = program(tool.program);
        choose("PNG", chosen);
        for (const char *name : kOddNames) {
            select("d", name);
            click("cmdEditFile");
            EXPECT_EQ(startedAs(chosen),
                      commandLine(chosen, tool.form, extracted(QString("d/") + name)));
        }
    }
}

// The program says itself what it makes of that; it must not be given pieces of the name.
TEST_F(EditFile, HandsOverTheNameOfAFileThatIsGone) {
    extract({{"my files/read me.png", "png"}, {"my files/read me.txt", "txt"}});
    const QString chosen = program("tool");
    for (const auto &[value, name] : {std::pair{"PNG", "read me.png"}, {"Text", "read me.txt"}}) {
        choose(value, chosen);
        const std::string file = extracted(QString("my files/") + name);
        ASSERT_TRUE(QFile::remove(QString::fromStdString(file)));
        select("my files", name);
        click("cmdEditFile");
        EXPECT_EQ(startedAs(chosen), commandLine(chosen, "@", file));
    }
    ASSERT_TRUE(QDir(game.temp()).removeRecursively());
    click("cmdEditFile");
    EXPECT_EQ(startedAs(chosen), commandLine(chosen, "@", extracted("my files/read me.txt")));
    EXPECT_EQ(boxes(), "");
}

// What the user's programs do to the file has to be in the archive after Save Changes.
TEST_F(EditFile, SavesWhatTheProgramsMadeOfTheFiles) {
    for (const char *manner : {"in place", "by rename", "with a backup", "later"}) {
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
