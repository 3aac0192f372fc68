#include "tests/workspace/editWindow.h"

#include "config/modRegistry.h"
#include "platform/files.h"
#include "platform/forms.h"

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
        std::vector<std::string> before; // what stands before the file
    } cases[] = {
        {"plain", "PNG", "a picture.png", {}},
        {"my tools/edit it", "PNG", "a picture.png", {}},
        {"Photoshop 6.0/Photoshp.exe", "PNG", "a picture.png", {}},
        {"upper/PHOTOSHP.EXE", "PNG", "plain.PNG", {}},
        {"Windows Media Player/wmplayer.exe", "MPG", "intro film.mpg", {"/open"}},
        {"the \"6.0\" one/Photoshp.exe", "PNG", "a picture.png", {}},
        {"both/wmplayer.exe/Photoshp.exe", "MPG", "intro film.mpg", {}},
        {"both/photoshp.exe/wmplayer.exe", "MPG", "intro film.mpg", {}},
        {"my tools/write it", "Text", "read me.txt", {}},
        {"text/Photoshp.exe", "Text", "read me.txt", {}},
        {"text/wmplayer.exe", "Text", "read me.txt", {}},
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
        std::vector<std::string> expected = row.before;
        expected.push_back(extracted("my files/" + row.name));
        EXPECT_EQ(arguments(chosen), expected) << qPrintable(row.program);
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
        if (!row.value.isEmpty()) {
            EXPECT_EQ(arguments(inRoot(row.value)).size(), 1U) << qPrintable(row.name);
        }
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
        EXPECT_EQ(arguments(other).size(), 1U) << qPrintable(row.name);
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
    const auto doubleClick = [this](const QModelIndex &index) {
        window->tree()->scrollTo(index);
        const QPoint where = window->tree()->visualRect(index).center();
        QTest::mouseClick(window->tree()->viewport(), Qt::LeftButton, {}, where);
        QTest::mouseDClick(window->tree()->viewport(), Qt::LeftButton, {}, where);
    };
    const QModelIndex folder = node("d", QString());
    const bool expanded = window->tree()->isExpanded(folder);
    doubleClick(folder);
    EXPECT_NE(window->tree()->isExpanded(folder), expanded);
    EXPECT_FALSE(started(chosen));

    window->tree()->expand(folder);
    doubleClick(node("d", "a.png"));
    EXPECT_EQ(arguments(chosen).size(), 1U);
    QTest::keyClick(window->tree(), Qt::Key_Return);
    EXPECT_EQ(arguments(chosen).size(), 1U);

    window->button("cmdEditFile")->setEnabled(false);
    doubleClick(node("d", "a.png"));
    QTest::keyClick(window->tree(), Qt::Key_Return);
    EXPECT_FALSE(started(chosen));
    EXPECT_EQ(boxes(), "");
}

TEST_F(EditFile, HandsEveryFileNameOverAsItIs) {
    const char *names[] = {
        "$HOME `touch x`.png", "a;b&c|d.png",    "-rf.png",         "it's.png",
        "say \"hi\".png",      "\"quoted\".png", "two  blanks.png", "per%cent.png",
        "\u00e4\u00f6.png",    "#1 (2).png"};
    std::vector<ArchiveFile> entries;
    for (const char *name : names)
        entries.push_back({name, name});
    extract(entries);
    for (const char *tool : {"plain", "a tool", "Photoshp.exe"}) {
        const QString chosen = program(tool);
        choose("PNG", chosen);
        for (const char *name : names) {
            select(QString(), name);
            click("cmdEditFile");
            EXPECT_EQ(arguments(chosen), std::vector{extracted(name)}) << tool;
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
        EXPECT_EQ(arguments(chosen), std::vector{file});
    }
    ASSERT_TRUE(QDir(game.temp()).removeRecursively());
    click("cmdEditFile");
    EXPECT_EQ(arguments(chosen), std::vector{extracted("my files/read me.txt")});
    EXPECT_EQ(boxes(), "");
}

TEST_F(EditFile, FallsBackToTheDesktopsTextEditor) {
    extract({{"d/a.txt", "text"}});
    select("d", "a.txt");
    const QString editor = program("bin/gedit");
    qputenv("VISUAL", editor.toUtf8());
    click("cmdEditFile");
    EXPECT_EQ(arguments(editor), std::vector{extracted("d/a.txt")});
    choose("Text", "");
    click("cmdEditFile");
    EXPECT_EQ(arguments(editor), std::vector{extracted("d/a.txt")});
    EXPECT_EQ(boxes(), "");

    // Where the desktop has none, the start fails and the user is told.
    qunsetenv("VISUAL");
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", "/nonexistent");
    click("cmdEditFile");
    EXPECT_EQ(boxes(), kSelectPrompt);
    qputenv("PATH", path);
}

// What the user's programs do to the file has to be in the archive after Save Changes.
TEST_F(EditFile, SavesWhatTheProgramsMadeOfTheFiles) {
    const struct {
        const char *program;
        QByteArray commands;
    } editors[] = {
        {"in place", "printf changed > \"$f\""},
        {"by rename", "printf changed > \"$f.new\"; mv \"$f.new\" \"$f\""},
        {"in the background", "(sleep 0.2; printf changed > \"$f\";) &"},
        {"with a backup", "cp \"$f\" \"$0.keep\"; rm \"$f\"; printf changed > \"$f\""},
    };
    for (const auto &editor : editors) {
        extract({{"one/same.png", "png one"}, {"two/same.png", "png two"}, {"one/a.txt", "text"}});
        const QString chosen = program(editor.program, editor.commands);
        choose("PNG", chosen);
        for (const char *folder : {"one", "two"}) {
            select(folder, "same.png");
            click("cmdEditFile");
            EXPECT_EQ(arguments(chosen).size(), 1U);
            QFile file(QString::fromStdString(extracted(QString(folder) + "/same.png")));
            EXPECT_TRUE(QTest::qWaitFor([&] {
                const bool changed = file.open(QIODevice::ReadOnly) && file.readAll() == "changed";
                file.close();
                return changed;
            })) << editor.program;
        }
        click("cmdSaveChanges");
        const auto packed = readArchive(archive());
        EXPECT_EQ(packed.at("one/same.png"), "changed") << editor.program;
        EXPECT_EQ(packed.at("two/same.png"), "changed") << editor.program;
        EXPECT_EQ(packed.at("one/a.txt"), "text") << editor.program;
        window.reset();
    }
    EXPECT_EQ(boxes(), "");
}

} // namespace
