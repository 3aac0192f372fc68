#include "config/frmSettings.h"

#include "config/modRegistry.h"
#include "platform/error.h"
#include "tests/registry/registryHome.h"
#include "tests/support/captions.h"

#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QStyleFactory>
#include <QTest>

#include <gtest/gtest.h>

namespace {

const QStringList kValues{"PNG", "JPG", "GIF", "BMP", "Text", "WAV", "MP3", "AVI", "MPG"};

struct RowNames {
    const char *box;
    const char *button;
    const char *title;
    const char *shown; // the value that the box shows
    const char *twin;  // the second value that it writes, or ""
};
const RowNames kRows[] = {
    {"txtPNG", "cmdPNGbrowse", "PNG Editor...", "PNG", ""},
    {"txtJPG", "cmdJPGbrowse", "JPG Editor...", "JPG", ""},
    {"txtGIF", "cmdGIFbrowse", "GIF Editor...", "GIF", ""},
    {"txtBMP", "cmdBMPbrowse", "BMP Editor...", "BMP", ""},
    {"txtText", "cmdTextbrowse", "Text Editor...", "Text", ""},
    {"txtSound", "cmdSoundbrowse", "Sound Editor...", "WAV", "MP3"},
    {"txtVideo", "cmdVideobrowse", "Video Editor...", "AVI", "MPG"},
};

QString stored(const QString &value) {
    return RegGetString(kHkeyLocalMachine, QString::fromUtf16(kProgramsKey), value, "<absent>");
}
void store(const QString &value, const QString &text) {
    RegSetString(kHkeyLocalMachine, QString::fromUtf16(kProgramsKey), value, text);
}

class SettingsWindow : public testing::Test {
  protected:
    void SetUp() override {
        platform::prompts().openFile = [this](const QString &title, const QString &filter) {
            asked.append(title + '|' + filter);
            return answer;
        };
    }
    void TearDown() override { platform::prompts() = {}; }

    void open() {
        main.setEnabled(false);
        window = new frmSettings(&main);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    }
    template<typename Control = QPushButton>
    Control *control(const char *name) {
        auto *found = window->findChild<Control *>(name);
        EXPECT_TRUE(found) << name;
        return found;
    }
    QLineEdit *box(const char *name) { return control<QLineEdit>(name); }
    void click(const char *name) { QTest::mouseClick(control(name), Qt::LeftButton); }
    void choose(const QString &path) {
        answer = platform::ChosenFile{path, path.section(u'/', -1)};
    }
    bool closed() {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return window.isNull();
    }

    RegistryHome home;
    QWidget main;
    QPointer<frmSettings> window;
    std::optional<platform::ChosenFile> answer;
    QStringList asked; // "title|filter" of each file dialog
};

TEST_F(SettingsWindow, HasItsSizeAndRoomForEveryCaptionInAnyStyle) {
    for (const QString &style : QStyleFactory::keys()) {
        QApplication::setStyle(style);
        open();
        EXPECT_EQ(window->windowTitle(), "Orvel Settings");
        EXPECT_EQ(window->size(), QSize(656, 339));
        EXPECT_EQ(window->minimumSize(), window->maximumSize());
        EXPECT_EQ(box("txtVideo")->geometry(), QRect(8, 188, 293, 21));
        expectCaptionsFit(*window);
        delete window;
    }
}

TEST_F(SettingsWindow, ShowsOneStoredValueARow) {
    open();
    for (const RowNames &row : kRows)
        EXPECT_EQ(box(row.box)->text(), "") << row.box;
    EXPECT_FALSE(control("cmdApplySettings")->isEnabled());
    EXPECT_FALSE(main.isEnabled());
    delete window;
    for (const QString &value : kValues)
        store(value, "/programs/for " + value);
    open();
    for (const RowNames &row : kRows)
        EXPECT_EQ(box(row.box)->text(), QString("/programs/for ") + row.shown) << row.box;
}

TEST_F(SettingsWindow, WritesAllNineValuesOnOkEvenUnchangedTypedAndEmptyOnes) {
    store("WAV", "/sound");
    store("MP3", "/another sound");
    store("AVI", "/video");
    open();
    QTest::keyClicks(box("txtText"), "/usr/bin/my editor");
    EXPECT_FALSE(control("cmdApplySettings")->isEnabled()) << "typing enables nothing";
    click("cmdSaveSettings");
    EXPECT_TRUE(closed());
    QStringList written;
    for (const QString &value : kValues)
        written.append(stored(value));
    EXPECT_EQ(written, QStringList({"", "", "", "", "/usr/bin/my editor", "/sound", "/sound",
                                    "/video", "/video"}));
}

TEST_F(SettingsWindow, BrowseFillsItsOwnBoxAndEnablesApply) {
    for (const RowNames &row : kRows) {
        open();
        choose("/opt/my programs/editor");
        click(row.button);
        EXPECT_EQ(asked.takeLast(), QString(row.title) + "|Programs (*.exe) | *.EXE");
        EXPECT_TRUE(control("cmdApplySettings")->isEnabled()) << row.button;
        for (const RowNames &other : kRows)
            EXPECT_EQ(box(other.box)->text(), other.box == row.box ? "/opt/my programs/editor" : "")
                << row.button << " " << other.box;
        EXPECT_EQ(stored(row.shown), "<absent>");
        click("cmdApplySettings");
        EXPECT_FALSE(control("cmdApplySettings")->isEnabled());
        EXPECT_TRUE(window->isVisible());
        for (const QString &value : kValues)
            EXPECT_EQ(stored(value),
                      value == row.shown || value == row.twin ? "/opt/my programs/editor" : "")
                << row.button << " " << qPrintable(value);
        delete window;
        home.clear();
    }
}

TEST_F(SettingsWindow, BrowseThatIsCancelledOrFailsLeavesBoxAndApplyAsTheyWere) {
    store("GIF", "/gif");
    open();
    click("cmdGIFbrowse");
    const auto answerOfUser = platform::prompts().openFile;
    platform::prompts().openFile = [](auto &&...) -> std::optional<platform::ChosenFile> {
        platform::raise(platform::ErrorNumber::PathFileAccess, "/gif");
    };
    click("cmdGIFbrowse");
    platform::prompts().openFile = answerOfUser;
    EXPECT_EQ(box("txtGIF")->text(), "/gif");
    EXPECT_FALSE(control("cmdApplySettings")->isEnabled());

    choose("/other");
    click("cmdGIFbrowse");
    answer.reset();
    click("cmdGIFbrowse");
    EXPECT_EQ(box("txtGIF")->text(), "/other");
    EXPECT_TRUE(control("cmdApplySettings")->isEnabled());
}

TEST_F(SettingsWindow, ShowsAPathThatIsWiderThanItsBoxAsATipToo) {
    open();
    box("txtGIF")->setText("/opt/<b>R&D</b>/edit");
    EXPECT_EQ(box("txtGIF")->toolTip(), "<qt>/opt/&lt;b&gt;R&amp;D&lt;/b&gt;/edit</qt>");
    box("txtGIF")->clear();
    EXPECT_EQ(box("txtGIF")->toolTip(), QString());
}

TEST_F(SettingsWindow, ClosesByItsButtonsAloneAndGivesTheMainWindowBack) {
    for (const char *button : {"cmdSaveSettings", "cmdCancelSettings"}) {
        open();
        EXPECT_FALSE(window->close());
        QTest::keyClick(window, Qt::Key_F4, Qt::AltModifier);
        EXPECT_TRUE(window->isVisible());
        EXPECT_FALSE(main.isEnabled());
        click(button);
        EXPECT_TRUE(main.isEnabled()) << button;
        EXPECT_TRUE(main.isVisible()) << button;
        EXPECT_TRUE(closed()) << button;
        EXPECT_TRUE(QTest::qWaitForWindowActive(&main)) << button;
    }
}

TEST_F(SettingsWindow, TakesEnterForOkAndEscForCancel) {
    const struct {
        const char *focus;
        Qt::Key key;
        bool closes;
        QString written;
    } cases[] = {
        {"txtPNG", Qt::Key_Return, true, "typed"},
        {"txtPNG", Qt::Key_Escape, true, "<absent>"},
        {"cmdVideobrowse", Qt::Key_Return, false, "<absent>"},
    };
    for (const auto &row : cases) {
        home.clear();
        open();
        box("txtPNG")->setText("typed");
        control<QWidget>(row.focus)->setFocus();
        QTest::keyClick(QApplication::focusWidget(), row.key);
        EXPECT_EQ(closed(), row.closes) << row.focus << " " << row.key;
        EXPECT_EQ(stored("PNG"), row.written) << row.focus << " " << row.key;
        delete window;
    }
    EXPECT_EQ(asked.size(), 1); // by Enter on the button
}

// The backup of the plug-in in a registered Photoshop shows that the step ran.
TEST_F(SettingsWindow, InstallsThePlugInAtOnceForPhotoshopInThePngRowOnly) {
    const QString photoshop = home.path("Photoshop 6.0/");
    const QString formats = photoshop + "Plug-Ins/Adobe Photoshop Only/File Formats/";
    RegSetString(kHkeyLocalMachine, QString::fromUtf16(kPhotoshopKey), QString(), photoshop);
    writeFile(formats + "Png.8bi", "there first");
    const QString backup = formats + "Png.8bi.bak";

    const struct {
        const char *button;
        const char *chosen;
        bool installs;
    } cases[] = {
        {"cmdPNGbrowse", "/ps/pHOTOSHP.eXE", true},
        {"cmdPNGbrowse", "/Photoshp.exe/gimp", false},
        {"cmdPNGbrowse", "/ps/MyPhotoshp.exe", false},
        {"cmdJPGbrowse", "/ps/Photoshp.exe", false},
    };
    for (const auto &row : cases) {
        open();
        choose(row.chosen);
        click(row.button);
        EXPECT_EQ(QFile::exists(backup), row.installs) << row.button << " " << row.chosen;
        click("cmdCancelSettings");
        EXPECT_EQ(stored("PNG"), "<absent>");
        QFile::remove(backup);
        closed();
    }
}

} // namespace
